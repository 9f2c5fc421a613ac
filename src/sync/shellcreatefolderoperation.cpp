#include "sync/shellcreatefolderoperation.h"

#include "items/abstractlocalcontainer.h"
#include "operations/createlocalfolderatomicoperation.h"

ShellCreateFolderOperation::ShellCreateFolderOperation(OperationGroup* parent,
                                                       const QSharedPointer<AbstractFolder>& parentFolder,
                                                       const QString& name, bool exclusive)
    : AbstractShellOperation(parent), parentFolder(parentFolder), folderName(name), exclusive(exclusive)
{
}

QString ShellCreateFolderOperation::destinationDisplayPath() const
{
    return createdFolder ? createdFolder->displayPath() : QString();
}

bool ShellCreateFolderOperation::createsLocalFolder() const
{
    return parentFolder && parentFolder->fileSystemType() == AbstractFS::LocalFileSystem;
}

void ShellCreateFolderOperation::prepareFirstOperation()
{
    switch (parentFolder->fileSystemClass()) {
    case AbstractFS::LocalClass:
        append(new CreateLocalFolderAtomicOperation(this, parentFolder.staticCast<AbstractLocalContainer>(),
                                                    folderName, exclusive));
        break;
    case AbstractFS::CloudClass:
        // Cloud folders are made by the cloud folder group, with the ACL
        // directive that comes with it; this build does not have them yet.
        break;
    }
}

bool ShellCreateFolderOperation::prepareNextOperation(AbstractOperation* child)
{
    if (AbstractShellOperation::prepareNextOperation(child))
        return true;
    if (child->type() == CreateLocalFolderAtomicType)
        createdFolder = static_cast<CreateLocalFolderAtomicOperation*>(child)->folder;
    return false;
}
