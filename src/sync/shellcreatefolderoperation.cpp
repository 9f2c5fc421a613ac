#include "sync/shellcreatefolderoperation.h"

#include "cloud/creates3folderoperation.h"
#include "items/abstractlocalcontainer.h"
#include "items/abstracts3folder.h"
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
        append(new CreateS3FolderOperation(this, parentFolder.staticCast<AbstractS3Folder>(), folderName,
                                           QByteArray(), exclusive, false));
        break;
    }
}

bool ShellCreateFolderOperation::prepareNextOperation(AbstractOperation* child)
{
    if (AbstractShellOperation::prepareNextOperation(child))
        return true;
    if (child->type() == CreateLocalFolderAtomicType)
        createdFolder = static_cast<CreateLocalFolderAtomicOperation*>(child)->folder;
    else if (child->type() == CreateS3FolderType)
        createdFolder = static_cast<CreateS3FolderOperation*>(child)->createdFolder;
    return false;
}
