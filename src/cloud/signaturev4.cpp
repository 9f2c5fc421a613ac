#include "cloud/signaturev4.h"

#include <QCryptographicHash>
#include <QHash>
#include <QList>
#include <QMap>
#include <QMessageAuthenticationCode>
#include <algorithm>
#include <utility>

#include "util/fastmutex.h"

const QByteArray SignatureV4::_algorithm = QByteArrayLiteral("AWS4-HMAC-SHA256");
const QByteArray SignatureV4::_unsignedPayload = QByteArrayLiteral("UNSIGNED-PAYLOAD");

namespace {

const QByteArray global_service = QByteArrayLiteral("s3");
const QByteArray global_terminator = QByteArrayLiteral("aws4_request");

QByteArray hmac(const QByteArray& key, const QByteArray& message)
{
    return QMessageAuthenticationCode::hash(message, key, QCryptographicHash::Sha256);
}

QByteArray sha256Hex(const QByteArray& data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex();
}

// The key of a day and region: four HMACs, the same for every request of a
// run but at midnight, so it is derived once. The secret is part of the
// name, so that two accounts never share a key.
QByteArray signingKey(const QByteArray& secret, const QByteArray& day, const QByteArray& region)
{
    static FastMutex mutex;
    static QHash<QByteArray, QByteArray> keys;
    const QByteArray name = day + '/' + region + '/' + secret;
    FastMutexLocker locker(mutex);
    QByteArray& key = keys[name];
    if (key.isEmpty()) {
        key = hmac("AWS4" + secret, day);
        key = hmac(key, region);
        key = hmac(key, global_service);
        key = hmac(key, global_terminator);
    }
    return key;
}

// Only the unreserved characters stay as they are, in names and values alike.
QByteArray uriEncode(const QByteArray& decoded)
{
    return QUrl::toPercentEncoding(QString::fromUtf8(decoded), QByteArray(), QByteArray());
}

// Trimmed, with each run of blanks inside made one.
QByteArray canonicalValue(const QByteArray& value)
{
    return value.simplified();
}

// Fields that the client or a proxy on the way may add, drop or rewrite.
bool isUnsigned(const QByteArray& lowerKey)
{
    return lowerKey == "expect" || lowerKey == "user-agent" || lowerKey == "connection"
        || lowerKey == "content-length" || lowerKey == "authorization";
}

} // namespace

QByteArray SignatureV4::canonicalQuery(const QUrl& target)
{
    QList<std::pair<QByteArray, QByteArray>> items;
    const QByteArray query = target.query(QUrl::FullyEncoded).toLatin1();
    for (const QByteArray& item : query.split('&')) {
        if (item.isEmpty())
            continue;
        const int equals = item.indexOf('=');
        const QByteArray name = equals < 0 ? item : item.left(equals);
        const QByteArray value = equals < 0 ? QByteArray() : item.mid(equals + 1);
        // Decoded first, so that whatever encoding the address used, the
        // store and this side encode the same characters.
        items.append({uriEncode(QByteArray::fromPercentEncoding(name)),
                      uriEncode(QByteArray::fromPercentEncoding(value))});
    }
    std::sort(items.begin(), items.end());
    QByteArray text;
    for (const auto& item : std::as_const(items)) {
        if (!text.isEmpty())
            text += '&';
        text += item.first + '=' + item.second;
    }
    return text;
}

QByteArray SignatureV4::payloadHash(const SigningRequest& request)
{
    // Hashing a streamed body would mean reading it twice.
    if (request.streamedBody)
        return _unsignedPayload;
    return sha256Hex(request.body);
}

SignedFields SignatureV4::sign(const SigningRequest& request) const
{
    const QDateTime moment = request.dateTime.toUTC();
    const QByteArray amzDate = moment.toString(QStringLiteral("yyyyMMdd'T'hhmmss'Z'")).toLatin1();
    const QByteArray day = amzDate.left(8);
    const QByteArray contentHash = payloadHash(request);

    QMap<QByteArray, QByteArray> headers;
    const auto add = [&headers](const QByteArray& key, const QByteArray& value) {
        const QByteArray name = key.toLower();
        if (isUnsigned(name))
            return;
        const QByteArray text = canonicalValue(value);
        QByteArray& entry = headers[name];
        // One value sent twice (an upload's MD5) is read by the store as one.
        if (entry.isNull() || entry == text)
            entry = text;
        else
            entry += ',' + text;
    };
    add("host", request.host);
    add("x-amz-date", amzDate);
    add("x-amz-content-sha256", contentHash);
    if (!request.md5.isEmpty())
        add("content-md5", request.md5);
    for (int i = 0; i < request.fields.count(); ++i)
        add(request.fields.at(i).key(), request.fields.at(i).value());

    QByteArray canonicalHeaders;
    QByteArray signedHeaders;
    for (auto it = headers.cbegin(); it != headers.cend(); ++it) {
        canonicalHeaders += it.key() + ':' + it.value() + '\n';
        signedHeaders += (signedHeaders.isEmpty() ? QByteArray() : QByteArray(";")) + it.key();
    }
    QByteArray path = request.target.path(QUrl::FullyEncoded).toLatin1();
    if (path.isEmpty())
        path = "/";
    const QByteArray canonicalRequest = HttpRequestHeader::methodString(request.method) + '\n' + path + '\n'
        + canonicalQuery(request.target) + '\n' + canonicalHeaders + '\n' + signedHeaders + '\n' + contentHash;

    const QByteArray scope = day + '/' + request.region + '/' + global_service + '/' + global_terminator;
    const QByteArray stringToSign =
        _algorithm + '\n' + amzDate + '\n' + scope + '\n' + sha256Hex(canonicalRequest);
    const QByteArray signature =
        hmac(signingKey(request.secretKey, day, request.region), stringToSign).toHex();

    SignedFields result;
    result.description = canonicalRequest + "\n\n" + stringToSign;
    result.fields.appendDuplicate(HttpField("x-amz-date", amzDate));
    result.fields.appendDuplicate(HttpField("x-amz-content-sha256", contentHash));
    result.fields.appendDuplicate(HttpField(
        "Authorization", _algorithm + " Credential=" + request.accessKey + '/' + scope
            + ",SignedHeaders=" + signedHeaders + ",Signature=" + signature));
    return result;
}
