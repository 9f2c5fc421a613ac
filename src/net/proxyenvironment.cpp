#include "net/proxyenvironment.h"

#include <QHostAddress>
#include <QMutex>
#include <QUrl>

#include <optional>

namespace {
QMutex global_installedMutex;
std::optional<ProxyEnvironment> global_installed;

QString variable(const QProcessEnvironment& environment, const QString& lowerCase)
{
    const QString value = environment.value(lowerCase);
    return value.isEmpty() ? environment.value(lowerCase.toUpper()) : value;
}
} // namespace

ProxyEnvironment ProxyEnvironment::fromEnvironment(const QProcessEnvironment& environment)
{
    ProxyEnvironment settings;
    settings.m_http = parseProxyUrl(variable(environment, QStringLiteral("http_proxy")));
    settings.m_https = parseProxyUrl(variable(environment, QStringLiteral("https_proxy")));
    settings.m_noProxy = variable(environment, QStringLiteral("no_proxy"));
    return settings;
}

QNetworkProxy ProxyEnvironment::proxyFor(const QString& host, bool encrypted) const
{
    if (bypasses(m_noProxy, host))
        return QNetworkProxy(QNetworkProxy::NoProxy);
    return encrypted ? m_https : m_http;
}

bool ProxyEnvironment::bypasses(const QString& noProxy, const QString& host)
{
    const QString name = host.toLower();
    const QHostAddress address(name);
    for (QString entry : noProxy.split(QLatin1Char(','))) {
        entry = entry.trimmed().toLower();
        if (entry == QLatin1String("*"))
            return true;
        // An address is no name: it matches itself, or a network written with its prefix.
        if (!address.isNull()) {
            const bool matches = entry.contains(QLatin1Char('/'))
                ? address.isInSubnet(QHostAddress::parseSubnet(entry))
                : address == QHostAddress(entry);
            if (matches)
                return true;
            continue;
        }
        if (entry.startsWith(QLatin1Char('.')))
            entry.remove(0, 1);
        // Whole labels only: "ample.com" is not a part of "example.com".
        if (!entry.isEmpty() && (name == entry || name.endsWith(QLatin1Char('.') + entry)))
            return true;
    }
    return false;
}

QNetworkProxy ProxyEnvironment::parseProxyUrl(const QString& value)
{
    const QString text = value.trimmed();
    if (text.isEmpty())
        return QNetworkProxy(QNetworkProxy::NoProxy);
    const QUrl url(text.contains(QLatin1String("://")) ? text : QStringLiteral("http://") + text,
                   QUrl::StrictMode);
    // An unusable value is passed over, as if it were not set.
    if (!url.isValid() || url.scheme().compare(QLatin1String("http"), Qt::CaseInsensitive) != 0
        || url.host().isEmpty())
        return QNetworkProxy(QNetworkProxy::NoProxy);
    QNetworkProxy proxy(QNetworkProxy::HttpProxy, url.host(), quint16(url.port(1080)));
    if (!url.userName().trimmed().isEmpty()) {
        proxy.setUser(url.userName());
        proxy.setPassword(url.password());
    }
    return proxy;
}

void ProxyEnvironment::install(const ProxyEnvironment& settings)
{
    QMutexLocker locker(&global_installedMutex);
    global_installed = settings;
}

QNetworkProxy ProxyEnvironment::current(const QString& host, bool encrypted)
{
    {
        QMutexLocker locker(&global_installedMutex);
        if (global_installed)
            return global_installed->proxyFor(host, encrypted);
    }
    return QNetworkProxy::applicationProxy();
}

QNetworkProxy ProxyEnvironment::route(const QString& host, bool encrypted, bool* inTheClear)
{
    QNetworkProxy proxy = current(host, encrypted);
    *inTheClear = false;
    if (proxy.type() == QNetworkProxy::HttpCachingProxy || proxy.type() == QNetworkProxy::HttpProxy) {
        if (proxy.hostName().isEmpty()) {
            proxy.setType(QNetworkProxy::NoProxy);
        } else if (proxy.type() == QNetworkProxy::HttpCachingProxy || !encrypted) {
            // An encrypted request tunnels through the proxy instead.
            proxy.setType(QNetworkProxy::HttpCachingProxy);
            *inTheClear = true;
        }
    }
    return proxy;
}
