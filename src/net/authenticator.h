#ifndef AUTHENTICATOR_H
#define AUTHENTICATOR_H

#include <QList>
#include <QPair>
#include <QSharedDataPointer>
#include <QString>
#include <QVariant>

class AuthenticatorPrivate;
class HttpRequestHeader;
class HttpResponseHeader;

// Credentials and scheme state for a proxy's demand of authentication: Basic,
// Digest (MD5, md5-sess; qop auth and auth-int) and NTLM with an NTLMv2 response.
// An implicitly shared handle, null until detach() gives it its data.
class Authenticator
{
public:
    enum Method { None = 0, Basic = 1, Ntlm = 4, DigestMd5 = 6 };
    enum Phase { Start = 0, Phase2 = 1, Done = 2, Invalid = 3 };

    Authenticator();
    ~Authenticator();
    Authenticator(const Authenticator& other);
    Authenticator& operator=(const Authenticator& other);
    bool operator==(const Authenticator& other) const;
    bool operator!=(const Authenticator& other) const { return !(*this == other); }

    bool isNull() const;
    // Gives a null handle its data; a handle that had tried everything may try again.
    void detach();

    QString user() const;
    void setUser(const QString& user);
    QString password() const;
    void setPassword(const QString& password);
    // Sets both unless they are the ones held: a finished exchange (an NTLM
    // connection) then stays as it is.
    void setCredentials(const QString& user, const QString& password);
    QString realm() const;
    QVariant option(const QString& name) const;
    QVariantHash options() const;
    void setOption(const QString& name, const QVariant& value);

    Method method() const;
    Phase phase() const;

    // Reads the "Proxy-Authenticate" (or "WWW-Authenticate") fields and keeps the
    // strongest scheme offered.
    void parseHttpResponse(const HttpResponseHeader& header, bool isProxy);
    void parseHttpResponse(const QList<QPair<QByteArray, QByteArray>>& fields, bool isProxy);
    // The value of the authorization field for a request.
    QByteArray calculateResponse(const QByteArray& requestMethod, const QByteArray& path);
    // Readies a request sent to a proxy in the clear: proxy form, and the answer
    // to the proxy's challenge. True when it is to go without its body (NTLM's
    // first message authenticates nothing; the next request carries the body).
    bool authorizeProxyRequest(HttpRequestHeader& header);

    // The name and value pairs of a Basic or Digest challenge.
    static QHash<QByteArray, QByteArray> parseDigestAuthenticationChallenge(
        const QByteArray& challenge);

private:
    // Unlike detach(), leaves the phase alone.
    void ensureData();

    QSharedDataPointer<AuthenticatorPrivate> d;
};

#endif
