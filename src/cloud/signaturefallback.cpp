#include "cloud/signaturefallback.h"

#include <QRegularExpression>

#include "cloud/abstractcloudstorageoperation.h"
#include "items/abstractaccount.h"
#include "items/signaturesettings.h"

namespace SignatureFallback {

namespace {

const QByteArray global_regionHeader = QByteArrayLiteral("x-amz-bucket-region");

// The text of the first element of that name in an error document.
QByteArray elementText(const QByteArray& body, const char* name)
{
    const QByteArray open = QByteArray("<") + name + '>';
    const int start = body.indexOf(open);
    if (start < 0)
        return QByteArray();
    const int end = body.indexOf('<', start + open.size());
    return end < 0 ? QByteArray() : body.mid(start + open.size(), end - start - open.size()).trimmed();
}

// Amazon's word for a store that takes Version 4 signatures only.
bool asksForVersion4(AbstractCloudStorageOperation* op, int status, const OpError& error)
{
    if (error.code() == QLatin1String("AuthorizationHeaderMalformed"))
        return true;
    if (error.code() == QLatin1String("InvalidRequest")
        && error.message().contains(QLatin1String("AWS4-HMAC-SHA256")))
        return true;
    // A HEAD answer has no body to say more.
    return status == 400 && op->method() == HttpRequestHeader::HeadMethod;
}

QByteArray regionOfRefusal(AbstractCloudStorageOperation* op, int status, const OpError& error)
{
    const QByteArray header = op->httpResponseHeader().field(global_regionHeader).value().trimmed();
    if (!header.isEmpty())
        return header;
    if (error.code() == QLatin1String("AuthorizationHeaderMalformed"))
        return elementText(op->responseData(), "Region");
    if (status == 301)
        return regionFromHost(QString::fromUtf8(elementText(op->responseData(), "Endpoint")));
    return QByteArray();
}

void note(AbstractCloudStorageOperation* op, const QString& text)
{
    op->addLog("\n" + text.toUtf8() + "\n");
}

} // namespace

QByteArray regionFromHost(const QString& host)
{
    static const QRegularExpression pattern(
        QStringLiteral("(?:^|\\.)s3[.-](?:dualstack\\.)?([a-z0-9-]+)\\.amazonaws\\.com\\.?$"));
    const QRegularExpressionMatch match = pattern.match(host.toLower());
    if (!match.hasMatch())
        return host.compare(QLatin1String("s3.amazonaws.com"), Qt::CaseInsensitive) == 0
                || host.endsWith(QLatin1String(".s3.amazonaws.com"), Qt::CaseInsensitive)
            ? QByteArrayLiteral("us-east-1")
            : QByteArray();
    const QString region = match.captured(1);
    // The global and external hosts are Amazon's first region.
    if (region == QLatin1String("external-1"))
        return QByteArrayLiteral("us-east-1");
    return region.toLatin1();
}

bool learnFromAnswer(AbstractWebServiceOperation* webOp)
{
    auto* op = dynamic_cast<AbstractCloudStorageOperation*>(webOp);
    if (!op || op->signedVersion() == 0)
        return false;
    const HttpResponseHeader answer = op->httpResponseHeader();
    const QSharedPointer<AbstractAccount> owner = op->account();
    if (!answer.isValid() || !owner || owner->fileSystemType() == AbstractFS::GSFileSystem)
        return false;
    const int status = answer.statusCode();
    const OpError error = op->error();
    const bool refused = status == 301 || (!error.isNull() && (status == 400 || status == 403));
    if (!refused)
        return false;

    SignatureSettings& settings = *SignatureSettings::of(owner);
    const QString bucket = op->bucketName();
    const QByteArray region = regionOfRefusal(op, status, error);
    if (!bucket.isEmpty() && settings.learnRegion(bucket, region))
        note(op, QStringLiteral("Signature: bucket '%1' is in region '%2'")
                     .arg(bucket, QString::fromLatin1(region)));
    if (asksForVersion4(op, status, error) && settings.switchToVersion4())
        note(op, QStringLiteral("Signature: the store asks for AWS4-HMAC-SHA256; "
                                "the rest of the run is signed with Version 4"));
    const int version = SignatureSettings::versionFor(owner);
    if (version != op->signedVersion())
        return true;
    return version == 4 && settings.region(bucket) != op->signedRegion();
}

} // namespace SignatureFallback
