#include "cloud/creates3folderoperation.h"

#include "cloud/heads3containeroperation.h"
#include "cloud/puts3acloperation.h"
#include "cloud/s3putemptyobjectatomicoperation.h"
#include "items/abstractwsfolder.h"
#include "items/driver.h"

CreateS3FolderOperation::CreateS3FolderOperation(OperationGroup* parent,
                                                 const QSharedPointer<AbstractS3Folder>& parentFolder,
                                                 const QString& name, const QSharedPointer<AbstractAcl>& acl,
                                                 bool failIfExists)
    : OperationGroup(parent), parentFolder(parentFolder), folderName(name),
      folder(Driver::createChildFolder(parentFolder, name)), acl(acl), failIfExists(failIfExists)
{
}

void CreateS3FolderOperation::prepareFirstOperation()
{
    appendThen(new HeadS3ContainerOperation(this, folder), [this](HeadS3ContainerOperation* head) {
        if (!head->error().isNull())
            return;
        if (!head->foundFolder) {
            appendPut();
            return;
        }
        createdFolder = head->foundFolder;
        if (failIfExists)
            setError(OpError(OpError::GeneralError, QString(), tr("Folder '%1' already exists").arg(folderName),
                             QString()));
    });
}

void CreateS3FolderOperation::appendPut()
{
    appendThen(new S3PutEmptyObjectAtomicOperation(this, parentFolder, folderName,
                                                   acl ? acl->canned() : AbstractAcl::NotCanned),
               [this](S3PutEmptyObjectAtomicOperation* put) {
                   if (!put->error().isNull())
                       return;
                   createdFolder = put->createdS3Folder();
                   if (createdFolder && put->canned() == AbstractAcl::NotCanned && acl)
                       append(new PutS3AclOperation(this, createdFolder, acl));
               });
}
