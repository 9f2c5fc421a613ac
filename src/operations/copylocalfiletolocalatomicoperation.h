#ifndef COPYLOCALFILETOLOCALATOMICOPERATION_H
#define COPYLOCALFILETOLOCALATOMICOPERATION_H

#include <QSharedPointer>

#include "items/abstractfile.h"
#include "items/abstractlocalcontainer.h"
#include "operations/abstractlocaloperation.h"

// Copies or moves one local file into a local folder under a given name.
// A plain file already at the target is never replaced: the copy fails.
class CopyLocalFileToLocalAtomicOperation : public AbstractLocalOperation
{
    Q_DECLARE_TR_FUNCTIONS(CopyLocalFileToLocalAtomicOperation)

public:
    CopyLocalFileToLocalAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& source,
                                        const QSharedPointer<AbstractLocalContainer>& destinationFolder,
                                        bool move, const QString& destinationName);

    QString name() const override { return tr("Copy file"); }
    CopyLocalFileToLocalAtomicOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner& runner) override;

    // Inputs.
    QSharedPointer<AbstractFile> source;
    QSharedPointer<AbstractLocalContainer> destinationFolder;
    bool move;
    QString destinationName;
    // Result: the file at the target, set on success.
    QSharedPointer<AbstractFile> destinationFile;
};

#endif
