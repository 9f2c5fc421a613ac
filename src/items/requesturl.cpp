#include "items/requesturl.h"

#include <QUrlQuery>

#include "items/abstractaccount.h"
#include "items/driver.h"
#include "items/url.h"

QUrl RequestUrl::build(const QSharedPointer<AbstractAccount>& account,
                       BrindleLib::Protocol protocol, const QString& bucket, const QString& key,
                       bool useCName, bool withVersion, const QByteArray& versionId)
{
    if (!account)
        return QUrl();
    QUrl url;
    const int port = account->port(protocol);
    if (port != AbstractAccount::standardPort(protocol))
        url.setPort(port);
    url.setScheme(protocol == BrindleLib::ProtocolHttps ? QStringLiteral("https")
                                                        : QStringLiteral("http"));

    const QString encodedKey = QString::fromLatin1(QUrl::toPercentEncoding(key, "/", ""));
    bool found = false;
    const QString canonical = useCName ? account->canonicalName(bucket, found) : QString();
    const QString endpointHost = account->endpoint()->hostName();
    if (found) {
        url.setHost(canonical);
        url.setPath(QLatin1Char('/') + encodedKey, QUrl::TolerantMode);
    } else if (Url::isDnsCompatible(bucket)
               && account->requestStyle() != BrindleLib::RequestStylePath) {
        url.setHost(bucket + QLatin1Char('.') + endpointHost);
        url.setPath(QLatin1Char('/') + encodedKey, QUrl::TolerantMode);
    } else {
        url.setHost(endpointHost);
        url.setPath(QLatin1Char('/') + bucket + QLatin1Char('/') + encodedKey,
                    QUrl::TolerantMode);
    }

    if (withVersion) {
        QUrlQuery query;
        query.addQueryItem(QStringLiteral("versionId"),
                           QString::fromLatin1(QUrl::toPercentEncoding(QString::fromUtf8(versionId))));
        url.setQuery(query);
    }
    return url;
}

QString RequestUrl::portText(const QSharedPointer<AbstractAccount>& account)
{
    const BrindleLib::Protocol protocol = account->protocol();
    const int port = account->port(protocol);
    if (port == AbstractAccount::standardPort(protocol))
        return QString();
    return QLatin1Char(':') + QString::number(port);
}

bool RequestUrl::isWellKnown(const QSharedPointer<AbstractAccount>& account)
{
    const QString domain = account->endpoint()->domain();
    for (const QSharedPointer<Endpoint>& standard : Driver::standardEndpoints()) {
        if (standard->domain() == domain)
            return true;
    }
    return false;
}
