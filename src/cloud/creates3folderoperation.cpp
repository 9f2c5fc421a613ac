#include "cloud/creates3folderoperation.h"

#include "cloud/heads3containeroperation.h"
#include "cloud/s3putemptyobjectatomicoperation.h"
#include "items/abstractwsfolder.h"
#include "items/driver.h"

CreateS3FolderOperation::CreateS3FolderOperation(OperationGroup* parent,
                                                 const QSharedPointer<AbstractS3Folder>& parentFolder,
                                                 const QString& name, const QByteArray& cannedAcl, bool failIfExists,
                                                 bool skipCheck)
    : OperationGroup(parent), parentFolder(parentFolder), folderName(name),
      folder(Driver::createChildFolder(parentFolder, name)), cannedAcl(cannedAcl), failIfExists(failIfExists),
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
    append(new S3PutEmptyObjectAtomicOperation(this, parentFolder, folderName, cannedAcl));
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
    case S3PutEmptyObjectAtomicType:
        createdFolder = static_cast<S3PutEmptyObjectAtomicOperation*>(child)->createdS3Folder();
        return true;
    default:
        return false;
    }
}
