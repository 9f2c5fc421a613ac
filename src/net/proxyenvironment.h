#ifndef PROXYENVIRONMENT_H
#define PROXYENVIRONMENT_H

#include <QNetworkProxy>
#include <QProcessEnvironment>
#include <QString>

// The proxies of the environment, read as curl reads them: "http_proxy" for requests
// in the clear, "https_proxy" for encrypted ones (tunnelled), "no_proxy" for the
// hosts reached directly. Each name in lower case wins over its upper-case form.
class ProxyEnvironment
{
public:
    static ProxyEnvironment fromEnvironment(const QProcessEnvironment& environment);

    QNetworkProxy proxyFor(const QString& host, bool encrypted) const;

    // "no_proxy", entries separated by commas: a host name matches itself and the
    // names below it (a leading dot changes nothing), an address itself, an address
    // with a prefix length its network; "*" matches all.
    static bool bypasses(const QString& noProxy, const QString& host);
    // "[http://][user[:password]@]host[:port]"; a proxy of type NoProxy if unusable.
    static QNetworkProxy parseProxyUrl(const QString& value);

    // What every connection of the process goes through. Until the first install,
    // the application proxy, for every host.
    static void install(const ProxyEnvironment& settings);
    static QNetworkProxy current(const QString& host, bool encrypted);
    // current(), as the socket is to use it: an HTTP proxy without a host is
    // none; inTheClear is set when the request goes to the proxy as it is
    // (type HttpCachingProxy) rather than through a tunnel.
    static QNetworkProxy route(const QString& host, bool encrypted, bool* inTheClear);

private:
    QNetworkProxy m_http = QNetworkProxy(QNetworkProxy::NoProxy);
    QNetworkProxy m_https = QNetworkProxy(QNetworkProxy::NoProxy);
    QString m_noProxy;
};

#endif
