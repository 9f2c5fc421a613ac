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
        appendThen(new CreateLocalFolderAtomicOperation(this, parentFolder.staticCast<AbstractLocalContainer>(),
                                                        folderName, exclusive),
                   [this](CreateLocalFolderAtomicOperation* create) { createdFolder = create->folder; });
        break;
    case AbstractFS::CloudClass:
        if (aclDirective.directive() == AclDirective::ContainerAcl)
            appendThen(new GetS3ContainerAclOperation(this, parentFolder.staticCast<AbstractS3Folder>(), true),
                       [this](GetS3ContainerAclOperation* get) {
                           if (!get->error().isNull())
                               return;
                           aclDirective.setAcl(get->acl);
                           appendCreateS3Folder();
                       });
        else
            appendCreateS3Folder();
        break;
    }
}

void ShellCreateFolderOperation::appendCreateS3Folder()
{
    appendThen(new CreateS3FolderOperation(this, parentFolder.staticCast<AbstractS3Folder>(), folderName,
                                           aclDirective.acl(), exclusive),
               [this](CreateS3FolderOperation* create) { createdFolder = create->createdFolder; });
}
