#ifndef TESTWEBOPERATIONS_H
#define TESTWEBOPERATIONS_H

#include "cloud/wsobjectoperation.h"

// A request on an object with whatever method, headers, MD5, transfer type
// and extra query the test gives it.
class TestObjectOperation : public WSObjectOperation
{
public:
    TestObjectOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file,
                        HttpRequestHeader::Method method = HttpRequestHeader::GetMethod);

    int type() const override { return 9990; }
    QString name() const override { return QStringLiteral("Test object"); }
    HttpRequestHeader::Method method() const override { return m_method; }
    Metadata httpFieldList() const override { return m_fields; }
    QByteArray contentMD5() const override { return m_md5; }
    int transferType() const override { return m_transferType; }
    TestObjectOperation* clone(OperationGroup* parent) const override;

    void setFields(const Metadata& fields) { m_fields = fields; }
    void setContentMD5(const QByteArray& md5) { m_md5 = md5; }
    void setTransferType(int type) { m_transferType = type; }

private:
    HttpRequestHeader::Method m_method;
    Metadata m_fields;
    QByteArray m_md5;
    int m_transferType = NoTransfer;
};

// A GET on a bucket or folder whose URL carries a query that is not signed,
// as a listing's does.
class TestContainerOperation : public S3ContainerOperation
{
public:
    TestContainerOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder,
                           const QString& query = QString());

    int type() const override { return 9991; }
    QString name() const override { return QStringLiteral("Test container"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::GetMethod; }
    QUrl url() const override;
    TestContainerOperation* clone(OperationGroup* parent) const override;

private:
    QString m_query;
};

#endif
