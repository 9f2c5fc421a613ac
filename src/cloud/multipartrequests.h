#ifndef MULTIPARTREQUESTS_H
#define MULTIPARTREQUESTS_H

#include <QCoreApplication>
#include <QList>
#include <QScopedPointer>

#include "cloud/wsobjectoperation.h"
#include "net/metadata.h"

class QIODevice;

// A request on the multipart sub-resources of one object ("uploads",
// "partNumber", "uploadId"): the query is in the URL and in the signed
// resource alike.
class MultipartAtomicOperation : public WSObjectOperation
{
public:
    MultipartAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                             const QByteArray& uploadId);

    QUrl url() const override;
    QUrl canonicalizedResource() const override;

    QByteArray uploadId() const { return m_uploadId; }

protected:
    // The query, already encoded, in the order in which it is signed.
    virtual QByteArray subResource() const;

private:
    const QByteArray m_uploadId;
};

// POST ?uploads: opens the upload with the object's own headers (metadata,
// type, ACL, storage class, encryption) and learns its id.
class InitiateMultipartAtomicOperation : public MultipartAtomicOperation
{
    Q_DECLARE_TR_FUNCTIONS(InitiateMultipartAtomicOperation)

public:
    InitiateMultipartAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                                     const Metadata& objectFields);

    QString name() const override { return tr("Start multipart upload"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::PostMethod; }
    InitiateMultipartAtomicOperation* clone(OperationGroup* parent) const override;
    Metadata httpFieldList() const override;
    bool processResponseData() override;

    // The id that the store gave; empty until a 200 has been read.
    QByteArray newUploadId;

protected:
    QByteArray subResource() const override { return QByteArrayLiteral("uploads"); }

private:
    const Metadata m_objectFields;
};

// PUT ?partNumber=N&uploadId=X: one part of an upload. The store's ETag of
// the part is kept, as sent, quotes and all: the completion echoes it.
class PartAtomicOperation : public MultipartAtomicOperation
{
public:
    PartAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                        const QByteArray& uploadId, int number, qint64 offset, qint64 length);

    HttpRequestHeader::Method method() const override { return HttpRequestHeader::PutMethod; }

    int number() const { return m_number; }
    qint64 offset() const { return m_offset; }
    qint64 length() const { return m_length; }
    QByteArray eTag;

protected:
    QByteArray subResource() const override;
    // Sets an error when a 200 named no ETag: the completion could not name the part.
    void requireETag();

private:
    const int m_number;
    const qint64 m_offset;
    const qint64 m_length;
};

// A part whose body is a window of a local file.
class UploadPartAtomicOperation : public PartAtomicOperation
{
    Q_DECLARE_TR_FUNCTIONS(UploadPartAtomicOperation)

public:
    UploadPartAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                              const QByteArray& uploadId, int number, const QString& path, qint64 offset,
                              qint64 length);
    ~UploadPartAtomicOperation() override;

    QString name() const override { return tr("Put part"); }
    int transferType() const override { return UploadTransfer; }
    UploadPartAtomicOperation* clone(OperationGroup* parent) const override;
    bool initializeRequestDataDevice() override;
    QIODevice* requestDataDevice() const override;
    void requestFinished() override;
    Metadata httpFieldList() const override;
    bool processResponseData() override;

private:
    const QString m_path;
    QScopedPointer<QIODevice> m_body;
};

// A part that the store copies from a range of another object: no body, the
// ETag comes back in a CopyPartResult document.
class CopyPartAtomicOperation : public PartAtomicOperation
{
    Q_DECLARE_TR_FUNCTIONS(CopyPartAtomicOperation)

public:
    CopyPartAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                            const QByteArray& uploadId, int number, const QSharedPointer<AbstractCloudFile>& source,
                            qint64 offset, qint64 length);

    QString name() const override { return tr("Copy part"); }
    CopyPartAtomicOperation* clone(OperationGroup* parent) const override;
    Metadata httpFieldList() const override;
    bool processResponseData() override;

private:
    const QSharedPointer<AbstractCloudFile> m_source;
};

// POST ?uploadId=X with the list of parts: the store joins them into the
// object. It may answer 200 and still have failed, with an Error document.
class CompleteMultipartAtomicOperation : public MultipartAtomicOperation
{
    Q_DECLARE_TR_FUNCTIONS(CompleteMultipartAtomicOperation)

public:
    // partETags holds the ETag of part i + 1 at i.
    CompleteMultipartAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                                     const QByteArray& uploadId, const QList<QByteArray>& partETags);

    QString name() const override { return tr("Complete multipart upload"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::PostMethod; }
    CompleteMultipartAtomicOperation* clone(OperationGroup* parent) const override;
    bool processResponseData() override;

    static QByteArray completionDocument(const QList<QByteArray>& partETags);

private:
    const QList<QByteArray> m_partETags;
};

// DELETE ?uploadId=X: drops the parts of an upload that was given up, so
// that nothing invisible stays in the store. A 404 is no error here: an
// upload that is gone has nothing left to bill.
class AbortMultipartAtomicOperation : public MultipartAtomicOperation
{
    Q_DECLARE_TR_FUNCTIONS(AbortMultipartAtomicOperation)

public:
    using MultipartAtomicOperation::MultipartAtomicOperation;

    QString name() const override { return tr("Abort multipart upload"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::DeleteMethod; }
    AbortMultipartAtomicOperation* clone(OperationGroup* parent) const override;
};

#endif
