#include "net/authenticator.h"

#include <cstring>

#include <QCryptographicHash>
#include <QRandomGenerator>

#include "net/httpheader.h"
#include "net/ntlm.h"

class AuthenticatorPrivate : public QSharedData
{
public:
    QByteArray digestMd5Response(const QByteArray& requestMethod, const QByteArray& path);
    QByteArray ntlmResponse();

    QString user;
    QString extendedUser;
    QString password;
    QVariantHash options;
    Authenticator::Method method = Authenticator::None;
    QString realm;
    QByteArray challenge;
    Authenticator::Phase phase = Authenticator::Start;

    QByteArray cnonce;
    int nonceCount = 0;
    QByteArray lastNonce;

    QString workstation;
    QString userDomain;
    bool ntlmAnswered = false;  // the last request carried message 3
};

namespace {

QByteArray randomBytes(int n)
{
    QByteArray bytes(n, Qt::Uninitialized);
    for (char& b : bytes)
        b = char(QRandomGenerator::system()->bounded(256));
    return bytes;
}

QByteArray md5Hex(const QByteArray& data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex();
}

} // namespace

QByteArray AuthenticatorPrivate::digestMd5Response(const QByteArray& requestMethod,
                                                   const QByteArray& path)
{
    const QHash<QByteArray, QByteArray> opts =
        Authenticator::parseDigestAuthenticationChallenge(challenge);
    const QByteArray nonce = opts.value("nonce");
    const QByteArray opaque = opts.value("opaque");
    const QByteArray algorithm = opts.value("algorithm");
    const QByteArray realmText = opts.value("realm");

    // The count runs per nonce; a new nonce starts it again with a new cnonce.
    if (nonce != lastNonce || cnonce.isEmpty()) {
        lastNonce = nonce;
        nonceCount = 0;
        cnonce = randomBytes(8).toHex();
    }
    ++nonceCount;
    const QByteArray nc = QByteArray::number(nonceCount, 16).rightJustified(8, '0');

    // "auth" when offered, else "auth-int" (of an empty body: this field goes with
    // requests whose body the authenticator does not see).
    QByteArray qop;
    for (const QByteArray& offered : opts.value("qop").split(',')) {
        const QByteArray q = offered.trimmed().toLower();
        if (q == "auth") {
            qop = q;
            break;
        }
        if (q == "auth-int")
            qop = q;
    }

    QByteArray ha1 = md5Hex(user.toLatin1() + ':' + realmText + ':' + password.toLatin1());
    if (algorithm.toLower() == "md5-sess")
        ha1 = md5Hex(ha1 + ':' + nonce + ':' + cnonce);
    QByteArray a2 = requestMethod + ':' + path;
    if (qop == "auth-int")
        a2 += ':' + md5Hex(QByteArray());
    const QByteArray ha2 = md5Hex(a2);
    const QByteArray digest = qop.isEmpty()
        ? md5Hex(ha1 + ':' + nonce + ':' + ha2)
        : md5Hex(ha1 + ':' + nonce + ':' + nc + ':' + cnonce + ':' + qop + ':' + ha2);

    QByteArray credentials = "username=\"" + user.toLatin1() + "\", realm=\"" + realmText
        + "\", nonce=\"" + nonce + "\", uri=\"" + path + "\"";
    if (!qop.isEmpty())
        credentials += ", nc=" + nc + ", cnonce=\"" + cnonce + "\"";
    credentials += ", response=\"" + digest + "\"";
    if (!opaque.isEmpty())
        credentials += ", opaque=\"" + opaque + "\"";
    if (!algorithm.isEmpty())
        credentials += ", algorithm=" + algorithm;
    if (!qop.isEmpty())
        credentials += ", qop=" + qop;
    return credentials;
}

QByteArray AuthenticatorPrivate::ntlmResponse()
{
    if (phase == Authenticator::Start) {
        phase = Authenticator::Phase2;
        ntlmAnswered = false;
        return Ntlm::negotiateMessage().toBase64();
    }
    phase = Authenticator::Done;
    ntlmAnswered = true;
    Ntlm::Challenge decoded;
    if (!Ntlm::decodeChallenge(QByteArray::fromBase64(challenge), decoded))
        return QByteArray();
    return Ntlm::authenticateMessage(decoded, user, password, userDomain, workstation,
                                     randomBytes(8))
        .toBase64();
}

Authenticator::Authenticator() = default;
Authenticator::~Authenticator() = default;
Authenticator::Authenticator(const Authenticator& other) = default;
Authenticator& Authenticator::operator=(const Authenticator& other) = default;

bool Authenticator::operator==(const Authenticator& other) const
{
    if (d == other.d)
        return true;
    if (!d || !other.d)
        return false;
    return d->user == other.d->user && d->password == other.d->password
        && d->realm == other.d->realm && d->method == other.d->method
        && d->options == other.d->options;
}

bool Authenticator::isNull() const
{
    return !d;
}

void Authenticator::ensureData()
{
    if (!d)
        d = new AuthenticatorPrivate;
}

void Authenticator::detach()
{
    if (!d) {
        d = new AuthenticatorPrivate;
        return;
    }
    if (d->phase == Done)
        d->phase = Start;
}

QString Authenticator::user() const
{
    return d ? d->user : QString();
}

void Authenticator::setUser(const QString& user)
{
    detach();
    d->extendedUser = user;
    d->user = user;
    d->userDomain.clear();
    // "DOMAIN\user" for NTLM.
    const int backslash = int(user.indexOf(QLatin1Char('\\')));
    if (backslash >= 0) {
        d->userDomain = user.left(backslash);
        d->user = user.mid(backslash + 1);
    }
}

void Authenticator::setCredentials(const QString& user, const QString& password)
{
    if (d && d->extendedUser == user && d->password == password)
        return;
    setUser(user);
    setPassword(password);
}

QString Authenticator::password() const
{
    return d ? d->password : QString();
}

void Authenticator::setPassword(const QString& password)
{
    detach();
    d->password = password;
}

QString Authenticator::realm() const
{
    return d ? d->realm : QString();
}

QVariant Authenticator::option(const QString& name) const
{
    return d ? d->options.value(name) : QVariant();
}

QVariantHash Authenticator::options() const
{
    return d ? d->options : QVariantHash();
}

void Authenticator::setOption(const QString& name, const QVariant& value)
{
    detach();
    d->options.insert(name, value);
}

Authenticator::Method Authenticator::method() const
{
    return d ? d->method : None;
}

Authenticator::Phase Authenticator::phase() const
{
    return d ? d->phase : Start;
}

void Authenticator::parseHttpResponse(const HttpResponseHeader& header, bool isProxy)
{
    QList<QPair<QByteArray, QByteArray>> fields;
    const Metadata all = header.metadata();
    for (int i = 0; i < all.count(); ++i)
        fields.append({ all.at(i).key(), all.at(i).value() });
    parseHttpResponse(fields, isProxy);
}

void Authenticator::parseHttpResponse(const QList<QPair<QByteArray, QByteArray>>& fields,
                                      bool isProxy)
{
    ensureData();
    const QByteArray wanted = isProxy ? "proxy-authenticate" : "www-authenticate";
    d->method = None;
    QByteArray rest;
    // The strongest scheme wins, whatever order the server lists them in.
    for (const auto& field : fields) {
        if (field.first.toLower() != wanted)
            continue;
        const QByteArray value = field.second.toLower();
        if (d->method < Ntlm && value.startsWith("ntlm")) {
            d->method = Ntlm;
            rest = field.second.mid(4);
        } else if (d->method < DigestMd5 && value.startsWith("digest")) {
            d->method = DigestMd5;
            rest = field.second.mid(6);
        } else if (d->method == None && value.startsWith("basic")) {
            d->method = Basic;
            rest = field.second.mid(5);
        }
    }
    d->challenge = rest.trimmed();

    if (d->method == Basic || d->method == DigestMd5) {
        const QHash<QByteArray, QByteArray> opts = parseDigestAuthenticationChallenge(d->challenge);
        if (d->realm.isEmpty()) {
            d->realm = QString::fromLatin1(opts.value("realm"));
            d->options.insert(QStringLiteral("realm"), d->realm);
        }
        if (d->method == DigestMd5) {
            // A stale nonce: the same credentials deserve another try. Refused
            // without one, they were wrong; answering again would never end.
            if (opts.value("stale").toLower() == "true")
                d->phase = Start;
            else if (d->phase == Phase2)
                d->phase = Done;
        }
        if (d->user.isEmpty())
            d->phase = Done;
    } else if (d->method == Ntlm) {
        // A bare offer to a request that carried nothing: a new connection, which
        // needs an exchange of its own. After message 3 it is a refusal.
        if (d->challenge.isEmpty() && d->phase == Done && !d->ntlmAnswered)
            d->phase = Start;
    } else if (d->method == None) {
        d->realm.clear();
        d->challenge.clear();
        d->phase = Invalid;
    }
}

QByteArray Authenticator::calculateResponse(const QByteArray& requestMethod,
                                            const QByteArray& path)
{
    ensureData();
    switch (d->method) {
    case Basic:
        d->phase = Done;
        return "Basic " + (d->user + QLatin1Char(':') + d->password).toLatin1().toBase64();
    case DigestMd5:
        d->phase = Phase2;
        return "Digest " + d->digestMd5Response(requestMethod, path);
    case Ntlm:
        if (d->phase == Done) {
            // NTLM authenticates the connection: later requests on it carry nothing.
            d->ntlmAnswered = false;
            return QByteArray();
        }
        return "NTLM " + d->ntlmResponse();
    case None:
        break;
    }
    return QByteArray();
}

QHash<QByteArray, QByteArray> Authenticator::parseDigestAuthenticationChallenge(
    const QByteArray& challenge)
{
    QHash<QByteArray, QByteArray> options;
    int at = 0;
    const int end = int(challenge.size());
    const auto skip = [&](const char* set) {
        while (at < end && std::strchr(set, challenge.at(at)) && challenge.at(at) != '\0')
            ++at;
    };
    while (at < end) {
        skip(" \t,");
        const int keyStart = at;
        while (at < end && challenge.at(at) != '=' && challenge.at(at) != ',')
            ++at;
        const QByteArray key = challenge.mid(keyStart, at - keyStart).trimmed().toLower();
        if (at >= end || challenge.at(at) != '=') {
            continue;  // a bare word (Basic's token) carries no option
        }
        ++at;
        skip(" \t");
        QByteArray value;
        if (at < end && challenge.at(at) == '"') {
            for (++at; at < end && challenge.at(at) != '"'; ++at) {
                if (challenge.at(at) == '\\' && at + 1 < end)
                    ++at;
                value += challenge.at(at);
            }
            ++at;
        } else {
            const int valueStart = at;
            while (at < end && challenge.at(at) != ',')
                ++at;
            value = challenge.mid(valueStart, at - valueStart).trimmed();
        }
        if (!key.isEmpty())
            options.insert(key, value);
    }
    return options;
}

bool Authenticator::authorizeProxyRequest(HttpRequestHeader& header)
{
    header.setCachingProxyInUse(true);
    header.remove("Proxy-Authorization");  // the answer to an earlier challenge
    const bool withoutBody = method() == Ntlm && phase() == Start;
    if (method() != None) {
        const QByteArray credentials =
            calculateResponse(HttpRequestHeader::methodString(header.method()), header.path());
        if (!credentials.isEmpty())
            header.addField(HttpField("Proxy-Authorization", credentials));
    }
    return withoutBody;
}
