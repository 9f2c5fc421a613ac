#ifndef DELETELOCALFILEATOMICOPERATION_H
#define DELETELOCALFILEATOMICOPERATION_H

#include <QSharedPointer>

#include "items/abstractfile.h"
#include "operations/abstractlocaloperation.h"

// Removes one local file. A file that is already gone is a failure.
class DeleteLocalFileAtomicOperation : public AbstractLocalOperation
{
    Q_DECLARE_TR_FUNCTIONS(DeleteLocalFileAtomicOperation)

public:
    DeleteLocalFileAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& file);

    QString name() const override { return tr("Delete file"); }
    DeleteLocalFileAtomicOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner& runner) override;

    QSharedPointer<AbstractFile> file;
};

#endif
