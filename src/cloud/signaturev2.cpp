#include "cloud/signaturev2.h"

#include <QLocale>
#include <QMessageAuthenticationCode>

SignedFields SignatureV2::sign(const SigningRequest& request) const
{
    const QByteArray date = dateText(request.dateTime);
    SignedFields result;
    result.description = stringToSign(request, date);
    const QByteArray signature =
        QMessageAuthenticationCode::hash(result.description, request.secretKey, QCryptographicHash::Sha1)
            .toBase64();
    result.fields.appendDuplicate(HttpField("Date", date));
    result.fields.appendDuplicate(
        HttpField("Authorization", request.authPrefix + ' ' + request.accessKey + ':' + signature));
    return result;
}

QByteArray SignatureV2::stringToSign(const SigningRequest& request, const QByteArray& date)
{
    QByteArray text = HttpRequestHeader::methodString(request.method);
    text += '\n' + request.md5 + '\n' + request.fields.field("Content-type").value() + '\n' + date + '\n';
    const Metadata amz = canonicalizedAmzHeaders(request.amzPrefix, request.fields);
    for (int i = 0; i < amz.count(); ++i)
        text += amz.at(i).toByteArray(false) + '\n';
    text += request.resource.path(QUrl::FullyEncoded).toLatin1();
    if (request.resource.hasQuery())
        text += '?' + request.resource.query(QUrl::FullyEncoded).toLatin1();
    return text;
}

Metadata SignatureV2::canonicalizedAmzHeaders(const QByteArray& prefix, const Metadata& fields)
{
    Metadata result;
    for (int i = 0; i < fields.count(); ++i) {
        const HttpField& field = fields.at(i);
        if (!field.key().startsWith(prefix) || field.value().isEmpty())
            continue;
        for (int j = 0; j < result.count(); ++j) {
            if (qstricmp(result[j].key().constData(), field.key().constData()) == 0)
                result[j].setValue(result[j].value() + ',' + field.value());
        }
        // On purpose the field is kept too, so that a repeated key is signed
        // twice: merged into the first entry, and on its own.
        result.appendDuplicate(field);
    }
    result.sort();
    return result;
}

QByteArray SignatureV2::dateText(const QDateTime& dateTime)
{
    // The quote around GMT is never closed: the rest of the pattern is literal.
    return QLocale(QLocale::C)
        .toString(dateTime.toUTC(), QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT"))
        .toLatin1();
}
