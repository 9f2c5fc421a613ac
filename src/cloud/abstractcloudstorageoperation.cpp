#include "cloud/abstractcloudstorageoperation.h"

#include <QMessageAuthenticationCode>

#include "cloud/signaturefallback.h"
#include "cloud/signaturev2.h"
#include "cloud/wsxmlstreamreader.h"
#include "items/abstractaccount.h"
#include "items/googlestorageaccount.h"
#include "items/signaturesettings.h"

namespace {

// The web address that the "User-Agent" header names.
const char global_productAddress[] = "https://quorle.example.org";

} // namespace

bool AbstractCloudStorageOperation::processResponseData()
{
    const HttpResponseHeader response = httpResponseHeader();
    if (!response.isValid()) {
        if (error().isNull())
            setError(OpError(OpError::NetworkError, QString(), QStringLiteral("Invalid response header"),
                             QString()));
        return true;
    }
    // A missing object is for the operation itself to judge.
    const int status = response.statusCode();
    if (status == 404 || status < 400 || status > 599)
        return true;
    if (response.field("Content-type").value().contains("application/xml")) {
        const OpError documented = errorFromDocument(responseData());
        if (!documented.isNull()) {
            setError(documented);
            return true;
        }
    }
    setError(OpError(OpError::ServiceError, QString::number(status),
                     QString::fromLatin1(response.reasonPhrase()), QString()));
    return true;
}

// The store's error document, read by the common XML reader; a body that
// is no such document yields no error.
OpError AbstractCloudStorageOperation::errorFromDocument(const QByteArray& body) const
{
    WSXmlStreamReader reader(account(), body);
    reader.readDocument();
    return reader.error();
}

void AbstractCloudStorageOperation::prepareRequestHeader(HttpRequestHeader& header)
{
    const QSharedPointer<AbstractAccount> owner = account();
    SigningRequest request = signingRequest(owner);
    const int version = SignatureSettings::versionFor(owner);
    if (version == 4)
        request.region = SignatureSettings::of(owner)->region(bucketName());
    const SignedFields signedFields = RequestSigner::forVersion(version).sign(request);
    {
        FastMutexLocker locker(m_signMutex);
        m_stringToSign = signedFields.description;
        m_signedVersion = version;
        m_signedRegion = request.region;
    }

    header = HttpRequestHeader(method(), request.target, 1, 1);
    header.addField(HttpField("Host", request.host));
    header.addFields(signedFields.fields);
    header.addField(HttpField("Connection", "Keep-Alive"));
    header.addField(HttpField("User-Agent", userAgent()));

    if (!request.body.isEmpty())
        header.setContentLength(request.body.size());
    else if (method() == HttpRequestHeader::PutMethod && !header.containsContentLength())
        header.setContentLength(0);
    if (!request.md5.isEmpty())
        header.addField(HttpField("Content-MD5", request.md5));
    Metadata fields = request.fields;
    fields.sort();
    header.addFields(fields);
}

SigningRequest AbstractCloudStorageOperation::signingRequest(const QSharedPointer<AbstractAccount>& owner) const
{
    SigningRequest request;
    request.method = method();
    // A redirected request goes elsewhere but names the same resource.
    request.target = redirectFlag() ? redirectLocation() : url();
    request.resource = canonicalizedResource();
    request.dateTime = dateTime();
    request.host = request.target.host().toUtf8();
    request.md5 = contentMD5().toBase64();
    request.fields = httpFieldList();
    if (owner->fileSystemType() == AbstractFS::GSFileSystem) {
        // Sent even when empty; the empty value then stays out of the signature.
        const auto google = owner.dynamicCast<GoogleStorageAccount>();
        request.fields.append(HttpField("x-goog-project-id", google ? google->projectId() : QByteArray()));
    }
    request.body = requestData();
    request.streamedBody = request.body.isNull() && requestDataDevice();
    request.accessKey = owner->accessKey();
    request.secretKey = owner->secretKey();
    request.authPrefix = owner->authPrefix();
    request.amzPrefix = owner->x();
    return request;
}

QByteArray AbstractCloudStorageOperation::stringToSign() const { return lockedRead(m_signMutex, m_stringToSign); }

bool AbstractCloudStorageOperation::learnFromSignatureRefusal() { return SignatureFallback::learnFromAnswer(this); }
int AbstractCloudStorageOperation::signedVersion() const { return lockedRead(m_signMutex, m_signedVersion); }
QByteArray AbstractCloudStorageOperation::signedRegion() const { return lockedRead(m_signMutex, m_signedRegion); }

Metadata AbstractCloudStorageOperation::canonicalizedAmzHeaders(
    const QSharedPointer<AbstractAccount>& account, const Metadata& fields)
{
    return SignatureV2::canonicalizedAmzHeaders(account->x(), fields);
}

QByteArray AbstractCloudStorageOperation::HMACSha1(const QByteArray& message, const QByteArray& key)
{
    return QMessageAuthenticationCode::hash(message, key, QCryptographicHash::Sha1);
}

QByteArray AbstractCloudStorageOperation::dateText(const QDateTime& dateTime)
{
    return SignatureV2::dateText(dateTime);
}

QByteArray AbstractCloudStorageOperation::userAgent()
{
    return QByteArray("Brindlebox 1.05 ( ") + global_productAddress + " )";
}
