#include "cloud/multipartrequests.h"

#include <QUrlQuery>

#include "cloud/copywsfiletowsatomicoperation.h"
#include "cloud/uploadatomicoperation.h"
#include "cloud/wsxmlstreamreader.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "util/fileslicedevice.h"

namespace {
const QString global_uploadIdElement = QStringLiteral("UploadId");

QUrl withQuery(QUrl url, const QByteArray& query)
{
    url.setQuery(QString::fromLatin1(query), QUrl::StrictMode);
    return url;
}

// A 200 may still carry an Error document; it is the operation's error then.
bool takeDocumentError(AbstractCloudStorageOperation* op, WSXmlStreamReader& reader)
{
    if (reader.error().isNull())
        return false;
    op->setError(reader.error());
    return true;
}
} // namespace

MultipartAtomicOperation::MultipartAtomicOperation(OperationGroup* parent,
                                                   const QSharedPointer<AbstractCloudFile>& target,
                                                   const QByteArray& uploadId)
    : WSObjectOperation(parent, target), m_uploadId(uploadId)
{
}

QByteArray MultipartAtomicOperation::subResource() const
{
    return "uploadId=" + QUrl::toPercentEncoding(QString::fromLatin1(m_uploadId));
}

QUrl MultipartAtomicOperation::url() const
{
    return withQuery(WSObjectOperation::url(), subResource());
}

QUrl MultipartAtomicOperation::canonicalizedResource() const
{
    return withQuery(WSObjectOperation::canonicalizedResource(), subResource());
}

InitiateMultipartAtomicOperation::InitiateMultipartAtomicOperation(OperationGroup* parent,
                                                                   const QSharedPointer<AbstractCloudFile>& target,
                                                                   const Metadata& objectFields)
    : MultipartAtomicOperation(parent, target, QByteArray()), m_objectFields(objectFields)
{
}

InitiateMultipartAtomicOperation* InitiateMultipartAtomicOperation::clone(OperationGroup* parent) const
{
    return new InitiateMultipartAtomicOperation(parent, file(), m_objectFields);
}

Metadata InitiateMultipartAtomicOperation::httpFieldList() const
{
    Metadata fields = MultipartAtomicOperation::httpFieldList();
    fields.append(m_objectFields);
    // A POST without a body still says so: some stores refuse it otherwise.
    fields.append(HttpField(UploadAtomicOperation::_contentLength, "0"));
    return fields;
}

bool InitiateMultipartAtomicOperation::processResponseData()
{
    if (httpResponseHeader().statusCode() != 200)
        return MultipartAtomicOperation::processResponseData();
    WSXmlStreamReader reader(account(), responseData());
    reader.walkDocument(QStringLiteral("InitiateMultipartUploadResult"), [&reader, this] {
        while (reader.readNextChildOf(QStringLiteral("InitiateMultipartUploadResult"))) {
            if (reader.name() == global_uploadIdElement)
                newUploadId = reader.readText().toUtf8();
        }
    });
    if (!takeDocumentError(this, reader) && newUploadId.isEmpty())
        setError(OpError(OpError::ServiceError, QString(), tr("The store gave no upload id"), QString()));
    return true;
}

PartAtomicOperation::PartAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                                         const QByteArray& uploadId, int number, qint64 offset, qint64 length)
    : MultipartAtomicOperation(parent, target, uploadId), m_number(number), m_offset(offset), m_length(length)
{
}

QByteArray PartAtomicOperation::subResource() const
{
    return "partNumber=" + QByteArray::number(m_number) + '&' + MultipartAtomicOperation::subResource();
}

void PartAtomicOperation::requireETag()
{
    if (eTag.isEmpty())
        setError(OpError(OpError::ServiceError, QString(),
                         QCoreApplication::translate("PartAtomicOperation", "The store gave no ETag for part %1")
                             .arg(m_number),
                         QString()));
}

UploadPartAtomicOperation::UploadPartAtomicOperation(OperationGroup* parent,
                                                     const QSharedPointer<AbstractCloudFile>& target,
                                                     const QByteArray& uploadId, int number, const QString& path,
                                                     qint64 offset, qint64 length)
    : PartAtomicOperation(parent, target, uploadId, number, offset, length), m_path(path)
{
}

UploadPartAtomicOperation::~UploadPartAtomicOperation() = default;

UploadPartAtomicOperation* UploadPartAtomicOperation::clone(OperationGroup* parent) const
{
    return new UploadPartAtomicOperation(parent, file(), uploadId(), number(), m_path, offset(), length());
}

bool UploadPartAtomicOperation::initializeRequestDataDevice()
{
    m_body.reset(new FileSliceDevice(m_path, offset(), length()));
    if (m_body->open(QIODevice::ReadOnly))
        return true;
    // The file changed under the upload: no retry can mend that.
    setError(OpError(OpError::FileError, QString(), m_body->errorString(),
                     QStringLiteral("Operation: %1\nPath: %2\n%3").arg(name(), m_path, m_body->errorString())));
    setErrorCounter(8);
    m_body.reset();
    return false;
}

QIODevice* UploadPartAtomicOperation::requestDataDevice() const
{
    return m_body.data();
}

void UploadPartAtomicOperation::requestFinished()
{
    m_body.reset();
}

Metadata UploadPartAtomicOperation::httpFieldList() const
{
    Metadata fields = PartAtomicOperation::httpFieldList();
    fields.append(HttpField(UploadAtomicOperation::_contentLength, QByteArray::number(length())));
    if (account()->hasFeature(AbstractAccount::ExpectContinueFeature))
        fields.append(HttpField(UploadAtomicOperation::_expect, UploadAtomicOperation::_100Continue));
    return fields;
}

bool UploadPartAtomicOperation::processResponseData()
{
    const HttpResponseHeader answer = httpResponseHeader();
    if (answer.statusCode() != 200)
        return PartAtomicOperation::processResponseData();
    eTag = answer.field("ETag").value();
    requireETag();
    return true;
}

CopyPartAtomicOperation::CopyPartAtomicOperation(OperationGroup* parent,
                                                 const QSharedPointer<AbstractCloudFile>& target,
                                                 const QByteArray& uploadId, int number,
                                                 const QSharedPointer<AbstractCloudFile>& source, qint64 offset,
                                                 qint64 length)
    : PartAtomicOperation(parent, target, uploadId, number, offset, length), m_source(source)
{
}

CopyPartAtomicOperation* CopyPartAtomicOperation::clone(OperationGroup* parent) const
{
    return new CopyPartAtomicOperation(parent, file(), uploadId(), number(), m_source, offset(), length());
}

Metadata CopyPartAtomicOperation::httpFieldList() const
{
    const QSharedPointer<AbstractAccount> account = this->account();
    Metadata fields = PartAtomicOperation::httpFieldList();
    fields.append(HttpField(account->xCopySource(), CopyWSFileToWSAtomicOperation::copySource(m_source)));
    fields.append(HttpField(account->xCopySource() + "-range",
                            "bytes=" + QByteArray::number(offset()) + '-'
                                + QByteArray::number(offset() + length() - 1)));
    return fields;
}

bool CopyPartAtomicOperation::processResponseData()
{
    if (httpResponseHeader().statusCode() != 200)
        return PartAtomicOperation::processResponseData();
    WSXmlStreamReader reader(account(), responseData());
    reader.walkDocument(QStringLiteral("CopyPartResult"), [&reader, this] {
        while (reader.readNextChildOf(QStringLiteral("CopyPartResult"))) {
            if (reader.name() == WSXmlStreamReader::_eTagXmlElement)
                eTag = reader.readText().toUtf8();
        }
    });
    if (!takeDocumentError(this, reader))
        requireETag();
    return true;
}

CompleteMultipartAtomicOperation::CompleteMultipartAtomicOperation(OperationGroup* parent,
                                                                   const QSharedPointer<AbstractCloudFile>& target,
                                                                   const QByteArray& uploadId,
                                                                   const QList<QByteArray>& partETags)
    : MultipartAtomicOperation(parent, target, uploadId), m_partETags(partETags)
{
    setRequestData(completionDocument(partETags));
}

CompleteMultipartAtomicOperation* CompleteMultipartAtomicOperation::clone(OperationGroup* parent) const
{
    return new CompleteMultipartAtomicOperation(parent, file(), uploadId(), m_partETags);
}

QByteArray CompleteMultipartAtomicOperation::completionDocument(const QList<QByteArray>& partETags)
{
    QByteArray xml = "<CompleteMultipartUpload>";
    for (int i = 0; i < partETags.size(); ++i) {
        xml += "<Part><PartNumber>" + QByteArray::number(i + 1) + "</PartNumber><ETag>"
            + QString::fromLatin1(partETags.at(i)).toHtmlEscaped().toLatin1() + "</ETag></Part>";
    }
    return xml + "</CompleteMultipartUpload>";
}

bool CompleteMultipartAtomicOperation::processResponseData()
{
    if (httpResponseHeader().statusCode() != 200)
        return MultipartAtomicOperation::processResponseData();
    WSXmlStreamReader reader(account(), responseData());
    reader.readDocument();
    takeDocumentError(this, reader);
    return true;
}

AbortMultipartAtomicOperation* AbortMultipartAtomicOperation::clone(OperationGroup* parent) const
{
    return new AbortMultipartAtomicOperation(parent, file(), uploadId());
}
