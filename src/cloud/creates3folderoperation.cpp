#include "cloud/creates3folderoperation.h"

#include "cloud/heads3containeroperation.h"
#include "cloud/puts3acloperation.h"
#include "cloud/s3putemptyobjectatomicoperation.h"
#include "items/abstractwsfolder.h"
#include "items/driver.h"

CreateS3FolderOperation::CreateS3FolderOperation(OperationGroup* parent,
                                                 const QSharedPointer<AbstractS3Folder>& parentFolder,
                                                 const QString& name, const QSharedPointer<AbstractAcl>& acl, bool failIfExists,
                                                 bool skipCheck)
    : OperationGroup(parent), parentFolder(parentFolder), folderName(name),
      folder(Driver::createChildFolder(parentFolder, name)), acl(acl), failIfExists(failIfExists),
      skipCheck(skipCheck)
{
}

void CreateS3FolderOperation::prepareFirstOperation()
{
    if (skipCheck)
        appendPut();
    else
        append(new HeadS3ContainerOperation(this, folder));
}

void CreateS3FolderOperation::appendPut()
{
    append(new S3PutEmptyObjectAtomicOperation(this, parentFolder, folderName,
                                               acl ? acl->canned() : AbstractAcl::NotCanned));
}

bool CreateS3FolderOperation::prepareNextOperation(AbstractOperation* child)
{
    if (OperationGroup::prepareNextOperation(child))
        return true;
    if (!child->error().isNull())
        return child->type() == HeadS3ContainerType || child->type() == S3PutEmptyObjectAtomicType;
    switch (child->type()) {
    case HeadS3ContainerType: {
        const QSharedPointer<AbstractS3Folder> found = static_cast<HeadS3ContainerOperation*>(child)->foundFolder;
        if (!found) {
            appendPut();
            return true;
        }
        createdFolder = found;
        if (failIfExists)
            setError(OpError(OpError::GeneralError, QString(), tr("Folder '%1' already exists").arg(folderName),
                             QString()));
        return true;
    }
    case S3PutEmptyObjectAtomicType: {
        auto* put = static_cast<S3PutEmptyObjectAtomicOperation*>(child);
        createdFolder = put->createdS3Folder();
        if (createdFolder && put->canned() == AbstractAcl::NotCanned && acl)
            append(new PutS3AclOperation(this, createdFolder, acl));
        return true;
    }
    default:
        return false;
    }
}
