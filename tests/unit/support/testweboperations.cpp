#include "testweboperations.h"

#include "items/abstracts3folder.h"

TestObjectOperation::TestObjectOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file,
                                         HttpRequestHeader::Method method)
    : WSObjectOperation(parent, file), m_method(method)
{
}

TestObjectOperation* TestObjectOperation::clone(OperationGroup* parent) const
{
    auto* copy = new TestObjectOperation(parent, file(), m_method);
    copy->m_fields = m_fields;
    copy->m_md5 = m_md5;
    copy->m_transferType = m_transferType;
    copy->setRequestData(requestData());
    return copy;
}

TestContainerOperation::TestContainerOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder,
                                               const QString& query)
    : S3ContainerOperation(parent, folder), m_query(query)
{
}

QUrl TestContainerOperation::url() const
{
    QUrl target = S3ContainerOperation::url();
    if (!m_query.isEmpty())
        target.setQuery(m_query);
    return target;
}

TestContainerOperation* TestContainerOperation::clone(OperationGroup* parent) const
{
    return new TestContainerOperation(parent, container(), m_query);
}
