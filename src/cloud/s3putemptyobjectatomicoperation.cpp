#include "cloud/s3putemptyobjectatomicoperation.h"

#include "cloud/aclrequest.h"
#include "items/abstractaccount.h"
#include "items/abstractwsfolder.h"
#include "items/driver.h"

S3PutEmptyObjectAtomicOperation::S3PutEmptyObjectAtomicOperation(OperationGroup* parent,
                                                                 const QSharedPointer<AbstractS3Folder>& parentFolder,
                                                                 const QString& name, AbstractAcl::Canned canned)
    : S3PutEmptyObjectAtomicOperation(parent, parentFolder, Driver::createChildFolder(parentFolder, name), name,
                                      canned)
{
}

S3PutEmptyObjectAtomicOperation::S3PutEmptyObjectAtomicOperation(OperationGroup* parent,
                                                                 const QSharedPointer<AbstractS3Folder>& parentFolder,
                                                                 const QSharedPointer<AbstractWSFolder>& folder,
                                                                 const QString& name, AbstractAcl::Canned canned)
    : S3ContainerOperation(parent, folder), m_parentFolder(parentFolder), m_name(name), m_canned(canned)
{
}

S3PutEmptyObjectAtomicOperation* S3PutEmptyObjectAtomicOperation::clone(OperationGroup* parent) const
{
    return new S3PutEmptyObjectAtomicOperation(parent, m_parentFolder, container().staticCast<AbstractWSFolder>(),
                                               m_name, m_canned);
}

Metadata S3PutEmptyObjectAtomicOperation::httpFieldList() const
{
    Metadata fields = S3ContainerOperation::httpFieldList();
    AclRequestHelpers::appendCannedField(fields, account(), m_canned);
    return fields;
}

bool S3PutEmptyObjectAtomicOperation::processResponseData()
{
    if (httpResponseHeader().statusCode() != 200)
        return S3ContainerOperation::processResponseData();
    m_createdFolder = container();
    m_createdFolder->setOwner(Driver::accountOwner(account()));
    return true;
}
