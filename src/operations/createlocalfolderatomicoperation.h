#ifndef CREATELOCALFOLDERATOMICOPERATION_H
#define CREATELOCALFOLDERATOMICOPERATION_H

#include <QSharedPointer>

#include "items/abstractlocalcontainer.h"
#include "operations/abstractlocaloperation.h"

// Creates one local folder. A folder that is already there counts as made.
class CreateLocalFolderAtomicOperation : public AbstractLocalOperation
{
    Q_DECLARE_TR_FUNCTIONS(CreateLocalFolderAtomicOperation)

public:
    CreateLocalFolderAtomicOperation(OperationGroup* parent,
                                     const QSharedPointer<AbstractLocalContainer>& parentFolder,
                                     const QString& folderName, bool exclusive);

    QString name() const override { return tr("Create virtual folder"); }
    CreateLocalFolderAtomicOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner& runner) override;

    // Inputs. The operation's own parent() and name() are taken, hence the longer names.
    QSharedPointer<AbstractLocalContainer> parentFolder;
    QString folderName;
    // Kept for the caller; an existing folder is success on the disk regardless.
    bool exclusive;
    // Result: the folder, set when it exists afterwards.
    QSharedPointer<AbstractFolder> folder;
};

#endif
