#ifndef DELETELOCALEMPTYFOLDERATOMICOPERATION_H
#define DELETELOCALEMPTYFOLDERATOMICOPERATION_H

#include <QSharedPointer>

#include "items/abstractfolder.h"
#include "operations/abstractlocaloperation.h"

// Removes one local folder, which must be empty by then.
class DeleteLocalEmptyFolderAtomicOperation : public AbstractLocalOperation
{
    Q_DECLARE_TR_FUNCTIONS(DeleteLocalEmptyFolderAtomicOperation)

public:
    DeleteLocalEmptyFolderAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder);

    QString name() const override { return tr("Delete empty folder"); }
    DeleteLocalEmptyFolderAtomicOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner& runner) override;

    QSharedPointer<AbstractFolder> folder;
};

#endif
