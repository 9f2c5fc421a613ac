#include "sync/shellcreatefolderoperation.h"

#include "cloud/creates3folderoperation.h"
#include "cloud/gets3containeracloperation.h"
#include "items/abstractlocalcontainer.h"
#include "items/abstracts3folder.h"
#include "operations/createlocalfolderatomicoperation.h"

ShellCreateFolderOperation::ShellCreateFolderOperation(OperationGroup* parent,
                                                       const QSharedPointer<AbstractFolder>& parentFolder,
                                                       const QString& name, const AclDirective& aclDirective,
                                                       bool exclusive)
    : AbstractShellOperation(parent), parentFolder(parentFolder), folderName(name), aclDirective(aclDirective),
      exclusive(exclusive)
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
        if (aclDirective.directive() == AclDirective::ContainerAcl)
            append(new GetS3ContainerAclOperation(this, parentFolder.staticCast<AbstractS3Folder>(), true));
        else
            appendCreateS3Folder();
        break;
    }
}

void ShellCreateFolderOperation::appendCreateS3Folder()
{
    append(new CreateS3FolderOperation(this, parentFolder.staticCast<AbstractS3Folder>(), folderName,
                                       aclDirective.acl(), exclusive, false));
}

bool ShellCreateFolderOperation::prepareNextOperation(AbstractOperation* child)
{
    if (AbstractShellOperation::prepareNextOperation(child))
        return true;
    if (child->type() == GetS3ContainerAclType && child->error().isNull()) {
        aclDirective.setAcl(static_cast<GetS3ContainerAclOperation*>(child)->acl);
        appendCreateS3Folder();
    } else if (child->type() == CreateLocalFolderAtomicType)
        createdFolder = static_cast<CreateLocalFolderAtomicOperation*>(child)->folder;
    else if (child->type() == CreateS3FolderType)
        createdFolder = static_cast<CreateS3FolderOperation*>(child)->createdFolder;
    return false;
}
