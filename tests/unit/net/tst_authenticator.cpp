#include <QtTest>

#include "net/authenticator.h"
#include "net/httpheader.h"
#include "net/ntlm.h"
#include "net/proxyenvironment.h"

namespace {

// The NTLMv2 example of the published NTLM protocol description.
const QString global_user = "User";
const QString global_password = "Password";
const QByteArray global_serverChallenge = QByteArray::fromHex("0123456789abcdef");
const QByteArray global_clientChallenge = QByteArray::fromHex("aaaaaaaaaaaaaaaa");
const QByteArray global_targetInfo = QByteArray::fromHex(
    "02000c0044006f006d00610069006e00"
    "01000c00530065007200760065007200"
    "00000000");

const quint32 global_flagsWithInfo = 0x00808201;  // unicode, NTLM, always sign, target info
const int global_autoOffset = -1;

void putSecurityBuffer(QByteArray& m, int size, int offset)
{
    m += char(size) + QByteArray(1, '\0') + char(size) + QByteArray(1, '\0');
    m += char(offset & 0xff) + QByteArray(1, char((offset >> 8) & 0xff)) + QByteArray(2, '\0');
}

// A message 2 whose head is `headSize` bytes: 32 in the oldest layout (no context,
// no target info field), 48 without the version, 56 with it. The name "Domain" and
// the target info follow, unless an offset is forced.
QByteArray challengeMessage(quint32 flags, const QByteArray& info, int headSize = 56,
                            int nameOffset = global_autoOffset, int infoOffset = global_autoOffset)
{
    const QByteArray name = QByteArray::fromHex("44006f006d00610069006e00");  // "Domain"
    QByteArray m("NTLMSSP\0", 8);
    m += QByteArray::fromHex("02000000");
    putSecurityBuffer(m, int(name.size()), nameOffset == global_autoOffset ? headSize : nameOffset);
    for (int shift = 0; shift < 32; shift += 8)
        m += char((flags >> shift) & 0xff);
    m += global_serverChallenge;
    if (headSize >= 48) {
        m += QByteArray(8, '\0');  // context
        const int autoInfo = headSize + int(name.size());
        putSecurityBuffer(m, int(info.size()), infoOffset == global_autoOffset ? autoInfo : infoOffset);
    }
    if (headSize >= 56)
        m += QByteArray(8, '\0');  // version
    return m + name + (headSize >= 48 ? info : QByteArray());
}

// Reads one field of a message 3 back.
QByteArray field(const QByteArray& message, int index)
{
    const int at = 12 + index * 8;
    const int length = quint8(message.at(at)) | (quint8(message.at(at + 1)) << 8);
    const int offset = quint8(message.at(at + 4)) | (quint8(message.at(at + 5)) << 8);
    return message.mid(offset, length);
}

HttpResponseHeader challengeHead(const QList<QByteArray>& offers)
{
    QByteArray text = "HTTP/1.1 407 Proxy Authentication Required\r\n";
    for (const QByteArray& o : offers)
        text += o + "\r\n";
    return HttpResponseHeader(text);
}

} // namespace

class TestAuthenticator : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void ntlmChallengeLayouts_data();
    void ntlmChallengeLayouts();
    void ntlmExchangeEnds();
    void strongestSchemeWins_data();
    void strongestSchemeWins();
    void digestRefusalAndStaleNonce();
    void challengeOptions();
    void noProxyMatching_data();
    void noProxyMatching();
    void proxyChoice_data();
    void proxyChoice();
};

void TestAuthenticator::ntlmChallengeLayouts_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QString>("domain");
    QTest::addColumn<bool>("decodes");
    QTest::addColumn<bool>("withInfo");
    QTest::addColumn<QString>("domainField");  // null: no message 3 can be made

    const QByteArray info = global_targetInfo;
    const quint32 withInfo = global_flagsWithInfo;
    const quint32 noInfo = global_flagsWithInfo & ~0x00800000u;
    const int autoOffset = global_autoOffset;
    QTest::newRow("target info announced") << challengeMessage(withInfo, info) << QString() << true << true << "Domain";
    QTest::newRow("no target info flag, head of 48") << challengeMessage(noInfo, info, 48) << QString() << true << false << "Domain";
    // The older layout leaves the unused field as garbage: it must not be read.
    QTest::newRow("no target info flag, garbage info field") << challengeMessage(noInfo, info, 56, autoOffset, 0xfff0) << QString() << true << false << "Domain";
    QTest::newRow("oldest layout, head of 32") << challengeMessage(noInfo, info, 32) << QString() << true << false << "Domain";
    QTest::newRow("garbage target name, domain given") << challengeMessage(noInfo, info, 48, 0xfff0) << "Corp" << true << false << "Corp";
    QTest::newRow("garbage target name, no domain") << challengeMessage(noInfo, info, 48, 0xfff0) << QString() << true << false << QString();
    QTest::newRow("target info announced but outside") << challengeMessage(withInfo, info, 56, autoOffset, 0xfff0) << QString() << false << false << QString();
    QTest::newRow("negotiate message instead") << QByteArray("NTLMSSP\0\1\0\0\0", 12) + QByteArray(40, '\0') << QString() << false << false << QString();
    QTest::newRow("cut short") << challengeMessage(withInfo, info).left(20) << QString() << false << false << QString();
}

void TestAuthenticator::ntlmChallengeLayouts()
{
    QFETCH(QByteArray, message);
    QFETCH(QString, domain);
    QFETCH(bool, decodes);
    QFETCH(bool, withInfo);
    QFETCH(QString, domainField);

    Ntlm::Challenge challenge;
    QCOMPARE(Ntlm::decodeChallenge(message, challenge), decodes);
    if (!decodes)
        return;
    QCOMPARE(challenge.serverChallenge, global_serverChallenge);
    QCOMPARE(challenge.targetInfo, withInfo ? global_targetInfo : QByteArray());

    const QByteArray m = Ntlm::authenticateMessage(challenge, global_user, global_password, domain,
                                                   "WS", global_clientChallenge, 0);
    if (domainField.isNull()) {
        QVERIFY(m.isEmpty());
        return;
    }
    QVERIFY(m.startsWith(QByteArray("NTLMSSP\0\3\0\0\0", 12)));
    QCOMPARE(field(m, 2), QByteArray(reinterpret_cast<const char*>(domainField.utf16()), domainField.size() * 2));
    // The NTv2 blob carries the target info, and message 3 its flag, exactly when the
    // challenge announced it.
    QCOMPARE(field(m, 1).size(), 16 + 28 + (withInfo ? global_targetInfo.size() : 0) + 4);
    QCOMPARE(bool(quint8(m.at(62)) & 0x80), withInfo);
    if (withInfo) {
        // The published example (its domain is the server's target name): LMv2 and
        // the NTv2 proof as the protocol description gives them.
        QCOMPARE(field(m, 0).toHex(), QByteArray("86c35097ac9cec102554764a57cccc19aaaaaaaaaaaaaaaa"));
        QCOMPARE(field(m, 1).left(16).toHex(), QByteArray("68cd0ab851e51c96aabc927bebef6a1c"));
    }
}

// The happy exchange is e2e.proxy's, against squid; here what ends it.
void TestAuthenticator::ntlmExchangeEnds()
{
    Authenticator auth;
    auth.setUser("Domain\\User");
    auth.setPassword(global_password);
    auth.parseHttpResponse(challengeHead({ "Proxy-Authenticate: NTLM" }), true);
    auth.calculateResponse("GET", "/");
    auth.parseHttpResponse(challengeHead({ "Proxy-Authenticate: NTLM "
                                           + challengeMessage(global_flagsWithInfo, global_targetInfo).toBase64() }), true);
    const QByteArray third = QByteArray::fromBase64(auth.calculateResponse("GET", "/").mid(5));
    QCOMPARE(field(third, 3), QByteArray::fromHex("5500730065007200")); // "User", the domain split off
    QCOMPARE(auth.phase(), Authenticator::Done);

    // A bare offer right after message 3 is a refusal, not a reason to start again.
    Authenticator refused = auth;
    refused.parseHttpResponse(challengeHead({ "Proxy-Authenticate: NTLM" }), true);
    QCOMPARE(refused.phase(), Authenticator::Done);
    // The connection is authenticated: the next request carries nothing, and a bare
    // offer then (a new connection) starts a new exchange.
    QCOMPARE(auth.calculateResponse("GET", "/"), QByteArray());
    auth.parseHttpResponse(challengeHead({ "Proxy-Authenticate: NTLM" }), true);
    QCOMPARE(auth.phase(), Authenticator::Start);

    // A challenge that does not decode gives an empty answer.
    Authenticator broken;
    broken.setUser("u");
    broken.parseHttpResponse(challengeHead({ "Proxy-Authenticate: NTLM" }), true);
    broken.calculateResponse("GET", "/");
    broken.parseHttpResponse(challengeHead({ "Proxy-Authenticate: NTLM bm9pc2U=" }), true);
    QCOMPARE(broken.calculateResponse("GET", "/"), QByteArray("NTLM "));
}

void TestAuthenticator::strongestSchemeWins_data()
{
    QTest::addColumn<QList<QByteArray>>("offers");
    QTest::addColumn<bool>("proxy");
    QTest::addColumn<int>("method");
    QTest::addColumn<int>("phase");
    using Offers = QList<QByteArray>;
    const int start = Authenticator::Start, invalid = Authenticator::Invalid;
    QTest::newRow("digest after basic") << Offers{ "Proxy-Authenticate: Basic realm=\"r\"", "proxy-authenticate: Digest realm=\"r\", nonce=\"n\"" } << true << int(Authenticator::DigestMd5) << start;
    QTest::newRow("digest before ntlm") << Offers{ "Proxy-Authenticate: DIGEST realm=\"r\", nonce=\"n\"", "Proxy-Authenticate: NTLM" } << true << int(Authenticator::DigestMd5) << start;
    QTest::newRow("ntlm over basic") << Offers{ "Proxy-Authenticate: Basic realm=\"r\"", "Proxy-Authenticate: NTLM" } << true << int(Authenticator::Ntlm) << start;
    QTest::newRow("unknown scheme") << Offers{ "Proxy-Authenticate: Negotiate" } << true << int(Authenticator::None) << invalid;
    QTest::newRow("server field ignored for a proxy") << Offers{ "WWW-Authenticate: Basic realm=\"r\"" } << true << int(Authenticator::None) << invalid;
    QTest::newRow("server field for a server") << Offers{ "WWW-Authenticate: Basic realm=\"r\"" } << false << int(Authenticator::Basic) << start;
}

void TestAuthenticator::strongestSchemeWins()
{
    QFETCH(QList<QByteArray>, offers);
    QFETCH(bool, proxy);
    QFETCH(int, method);
    QFETCH(int, phase);
    // Header fields keep one of each name: hand the pairs over directly.
    QList<QPair<QByteArray, QByteArray>> fields;
    for (const QByteArray& o : offers) {
        const int colon = int(o.indexOf(':'));
        fields.append({ o.left(colon), o.mid(colon + 2) });
    }
    Authenticator auth;
    auth.setUser("robin");
    auth.parseHttpResponse(fields, proxy);
    QCOMPARE(int(auth.method()), method);
    QCOMPARE(int(auth.phase()), phase);
    if (method == Authenticator::None)
        QVERIFY(auth.realm().isEmpty());
    else if (method != Authenticator::Ntlm)
        QCOMPARE(auth.realm(), QString("r"));
}

void TestAuthenticator::digestRefusalAndStaleNonce()
{
    Authenticator auth;
    auth.setUser("Mufasa");
    auth.setPassword("Circle Of Life");
    const QByteArray challenge = "Proxy-Authenticate: Digest realm=\"testrealm@host.com\", "
                                 "qop=\"auth,auth-int\", nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\", "
                                 "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\"";
    auth.parseHttpResponse(challengeHead({ challenge }), true);
    // qop: the one we speak is chosen out of the list offered.
    const QByteArray first = auth.calculateResponse("GET", "/dir/index.html");
    QVERIFY(first.contains("qop=auth") && !first.contains("qop=auth-int") && first.contains("nc=00000001"));
    QVERIFY(auth.calculateResponse("GET", "/").contains("nc=00000002"));

    // A stale nonce asks for the same credentials again.
    auth.parseHttpResponse(challengeHead({ challenge + ", stale=TRUE" }), true);
    QCOMPARE(auth.phase(), Authenticator::Start);
    auth.calculateResponse("GET", "/");
    // Refused without a stale nonce: the credentials are wrong.
    auth.parseHttpResponse(challengeHead({ challenge + ", stale=false" }), true);
    QCOMPARE(auth.phase(), Authenticator::Done);
}

void TestAuthenticator::challengeOptions()
{
    const auto opts = Authenticator::parseDigestAuthenticationChallenge(
        "realm=\"a, \\\"quoted\\\" realm\", nonce=abc ,QOP=\"auth\",stale=false");
    using Options = decltype(opts);
    QCOMPARE(opts, (Options{ { "realm", "a, \"quoted\" realm" }, { "nonce", "abc" }, { "qop", "auth" }, { "stale", "false" } }));
}

// Which proxy a request goes through, from the variables curl reads.

void TestAuthenticator::noProxyMatching_data()
{
    QTest::addColumn<QString>("noProxy");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("bypassed");

    QTest::newRow("a name below it") << "example.com" << "bucket.s3.example.com" << true;
    QTest::newRow("leading dot, the name itself") << ".example.com" << "example.com" << true;
    QTest::newRow("part of a label") << "ample.com" << "example.com" << false;
    QTest::newRow("a longer name is not below") << "example.com" << "example.com.evil.net" << false;
    QTest::newRow("any case, blanks in the list") << "intra.net , EXAMPLE.com" << "S3.Example.COM" << true;
    QTest::newRow("star") << "*" << "anything.example" << true;
    QTest::newRow("address is not a suffix") << "0.0.1" << "127.0.0.1" << false;
    QTest::newRow("network") << "10.0.0.0/8" << "10.1.2.3" << true;
    QTest::newRow("empty entries match nothing") << ",, ," << "example.com" << false;
}

void TestAuthenticator::noProxyMatching()
{
    QFETCH(QString, noProxy);
    QFETCH(QString, host);
    QFETCH(bool, bypassed);
    QCOMPARE(ProxyEnvironment::bypasses(noProxy, host), bypassed);
}

void TestAuthenticator::proxyChoice_data()
{
    QTest::addColumn<QStringList>("variables");  // NAME=value
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("encrypted");
    QTest::addColumn<QString>("expected");  // host:port user password, or "none"

    const QString host = "s3.example.com";
    QTest::newRow("no https_proxy: encrypted goes direct") << QStringList{ "http_proxy=http://proxy:3128" } << host << true << "none";
    QTest::newRow("lower case wins") << QStringList{ "HTTP_PROXY=http://upper:1", "http_proxy=http://lower:2" } << host << false << "lower:2  ";
    QTest::newRow("no scheme, no port") << QStringList{ "http_proxy=proxy" } << host << false << "proxy:1080  ";
    QTest::newRow("NO_PROXY loses to no_proxy") << QStringList{ "http_proxy=http://proxy:1", "NO_PROXY=*", "no_proxy=intra.net" } << host << false << "proxy:1  ";
    QTest::newRow("other scheme passed over") << QStringList{ "http_proxy=socks5://proxy:1080" } << host << false << "none";
    QTest::newRow("not a URL passed over") << QStringList{ "http_proxy=http://pro xy:3128" } << host << false << "none";
}

void TestAuthenticator::proxyChoice()
{
    QFETCH(QStringList, variables);
    QFETCH(QString, host);
    QFETCH(bool, encrypted);
    QFETCH(QString, expected);

    QProcessEnvironment environment;
    for (const QString& v : variables)
        environment.insert(v.section('=', 0, 0), v.section('=', 1));
    const QNetworkProxy proxy = ProxyEnvironment::fromEnvironment(environment).proxyFor(host, encrypted);
    QCOMPARE(proxy.type() == QNetworkProxy::NoProxy ? QStringLiteral("none")
             : QStringLiteral("%1:%2 %3 %4").arg(proxy.hostName()).arg(proxy.port()).arg(proxy.user(), proxy.password()),
             expected);
    QCOMPARE(proxy.type(), expected == "none" ? QNetworkProxy::NoProxy : QNetworkProxy::HttpProxy);
}

QTEST_GUILESS_MAIN(TestAuthenticator)
#include "tst_authenticator.moc"
