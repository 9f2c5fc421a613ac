#include "operations/createlocalfolderatomicoperation.h"

CreateLocalFolderAtomicOperation::CreateLocalFolderAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractLocalContainer>& parentFolder,
    const QString& folderName, bool exclusive)
    : parentFolder(parentFolder), folderName(folderName), exclusive(exclusive)
{
    setParent(parent);
}

CreateLocalFolderAtomicOperation* CreateLocalFolderAtomicOperation::clone(OperationGroup* parent) const
{
    return new CreateLocalFolderAtomicOperation(parent, parentFolder, folderName, exclusive);
}
