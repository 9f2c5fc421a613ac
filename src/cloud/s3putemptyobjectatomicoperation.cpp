#include "cloud/s3putemptyobjectatomicoperation.h"

#include "items/abstractaccount.h"
#include "items/abstractwsfolder.h"
#include "items/driver.h"

S3PutEmptyObjectAtomicOperation::S3PutEmptyObjectAtomicOperation(OperationGroup* parent,
                                                                 const QSharedPointer<AbstractS3Folder>& parentFolder,
                                                                 const QString& name, const QByteArray& cannedAcl)
    : S3PutEmptyObjectAtomicOperation(parent, parentFolder, Driver::createChildFolder(parentFolder, name), name,
                                      cannedAcl)
{
}

S3PutEmptyObjectAtomicOperation::S3PutEmptyObjectAtomicOperation(OperationGroup* parent,
                                                                 const QSharedPointer<AbstractS3Folder>& parentFolder,
                                                                 const QSharedPointer<AbstractWSFolder>& folder,
                                                                 const QString& name, const QByteArray& cannedAcl)
    : S3ContainerOperation(parent, folder), m_parentFolder(parentFolder), m_name(name), m_cannedAcl(cannedAcl)
{
}

S3PutEmptyObjectAtomicOperation* S3PutEmptyObjectAtomicOperation::clone(OperationGroup* parent) const
{
    return new S3PutEmptyObjectAtomicOperation(parent, m_parentFolder, container().staticCast<AbstractWSFolder>(),
                                               m_name, m_cannedAcl);
}

Metadata S3PutEmptyObjectAtomicOperation::httpFieldList() const
{
    Metadata fields = S3ContainerOperation::httpFieldList();
    if (!m_cannedAcl.isEmpty())
        fields.append(HttpField(account()->xAcl(), m_cannedAcl));
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
