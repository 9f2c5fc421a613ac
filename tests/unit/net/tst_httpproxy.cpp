#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "net/httpclient.h"
#include "net/tlssettings.h"
#include "scriptedserver.h"

// The client against servers it did not come with: squid as an authenticating proxy
// (Basic through basic_ncsa_auth, Digest through digest_file_auth), in the clear and
// tunnelled with CONNECT, and "openssl s_server" as the TLS origin, whose certificate
// is checked.

namespace {

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

bool waitForPort(quint16 port, QProcess& process)
{
    return QTest::qWaitFor(
        [&] {
            if (process.state() == QProcess::NotRunning)
                return true;
            QTcpSocket probe;
            probe.connectToHost(QHostAddress::LocalHost, port);
            return probe.waitForConnected(200);
        },
        15000)
        && process.state() == QProcess::Running;
}

void stop(QProcess& process)
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(5000);
    }
}

QByteArray run(const QString& program, const QStringList& args)
{
    QProcess p;
    p.start(program, args);
    p.waitForFinished(30000);
    return p.readAllStandardOutput();
}

struct Outcome
{
    bool failed = true;
    int code = -1;
    QString text;
    int status = -1;
    QByteArray body;
    QByteArray sentHead;
};

Outcome fetch(HttpClient::ConnectionMode mode, quint16 port, const QByteArray& path,
             const QByteArray& host = "127.0.0.1", QIODevice* body = nullptr)
{
    HttpClient client;
    Outcome out;
    bool done = false;
    int id = 0;
    QObject::connect(&client, &HttpClient::requestStarted,
                     [&](int, const QByteArray& head) { out.sentHead = head; });
    QObject::connect(&client, &HttpClient::readyRead, [&] { out.body += client.readAll(); });
    QObject::connect(&client, &HttpClient::requestFinished, [&](int finished, bool error) {
        if (finished != id)
            return;
        done = true;
        out.failed = error;
        out.code = client.error();
        out.text = client.errorString();
        out.status = client.lastResponse().statusCode();
    });
    client.setHost(host, mode, port);
    const QByteArray scheme = mode == HttpClient::ConnectionModeHttps ? "https" : "http";
    const QByteArray authority = host + ':' + QByteArray::number(port);
    HttpRequestHeader head(body ? HttpRequestHeader::PutMethod : HttpRequestHeader::GetMethod,
                           QUrl::fromEncoded(scheme + "://" + authority + path));
    head.addField(HttpField("Host", authority));
    if (body)
        head.addField(HttpField("Expect", "100-continue"));
    id = client.request(head, body);
    if (!QTest::qWaitFor([&] { return done; }, 20000))
        out.text = QStringLiteral("no answer");
    return out;
}

} // namespace

class TestHttpProxy : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();
    void tlsVerification_data();
    void tlsVerification();
    void throughProxy_data();
    void throughProxy();
    void uploadHeldBackThroughProxy_data();
    void uploadHeldBackThroughProxy();
    void digestServesLaterRequestsOnOneConnection();

private:
    bool startSquid(QProcess& squid, quint16 port, const QString& name, const QString& auth);
    QString path(const QString& name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
    QProcess m_basicSquid;
    QProcess m_digestSquid;
    QProcess m_tlsServer;
    quint16 m_basicPort = 0;
    quint16 m_digestPort = 0;
    quint16 m_tlsPort = 0;
    const QByteArray m_page = "a page served over TLS\n";
    QSslConfiguration m_defaultTls;
};

bool TestHttpProxy::startSquid(QProcess& squid, quint16 port, const QString& name,
                               const QString& auth)
{
    QFile conf(path(name + ".conf"));
    if (!conf.open(QIODevice::WriteOnly))
        return false;
    const QString dir = m_dir.path();
    conf.write(QStringLiteral("http_port 127.0.0.1:%1\n"
                              "pid_filename %2/%3.pid\n"
                              "cache_log %2/%3-cache.log\n"
                              "access_log stdio:%2/%3-access.log\n"
                              "cache_store_log none\n"
                              "cache deny all\n"
                              "cache_mem 8 MB\n"
                              "coredump_dir %2\n"
                              "netdb_filename none\n"
                              "pinger_enable off\n"
                              "shutdown_lifetime 0 seconds\n"
                              "%4\n"
                              "acl authed proxy_auth REQUIRED\n"
                              "http_access allow authed\n"
                              "http_access deny all\n")
                   .arg(port)
                   .arg(dir, name, auth)
                   .toUtf8());
    conf.close();
    squid.setProcessChannelMode(QProcess::MergedChannels);
    squid.start("squid", { "-N", "-f", conf.fileName() });
    return waitForPort(port, squid);
}

void TestHttpProxy::initTestCase()
{
    QVERIFY2(!QStandardPaths::findExecutable("squid", { "/usr/sbin", "/usr/bin" }).isEmpty()
                 || QFile::exists("/usr/sbin/squid"),
             "squid is missing: run scripts/install-deps.sh");
    QVERIFY(m_dir.isValid());
    // Squid started as root runs its helpers as another user.
    QFile::setPermissions(m_dir.path(), QFileDevice::Permissions(0x7777));

    QFile basic(path("basic.passwd"));
    QVERIFY(basic.open(QIODevice::WriteOnly));
    basic.write("robin:" + run("openssl", { "passwd", "-apr1", "secret" }));
    basic.close();
    QFile digest(path("digest.passwd"));
    QVERIFY(digest.open(QIODevice::WriteOnly));
    digest.write("robin:secret\n");
    digest.close();

    m_defaultTls = QSslConfiguration::defaultConfiguration();
    run("openssl", { "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                     "-nodes", "-days", "1", "-subj", "/CN=localhost", "-addext",
                     "subjectAltName=DNS:localhost", "-keyout", path("key.pem"), "-out",
                     path("cert.pem") });
    QVERIFY(QFile::exists(path("cert.pem")));
    QFile page(path("page.txt"));
    QVERIFY(page.open(QIODevice::WriteOnly));
    page.write(m_page);
    page.close();

    m_tlsPort = freePort();
    m_tlsServer.setWorkingDirectory(m_dir.path());
    m_tlsServer.start("openssl", { "s_server", "-quiet", "-WWW", "-accept",
                                   QStringLiteral("127.0.0.1:%1").arg(m_tlsPort), "-cert",
                                   path("cert.pem"), "-key", path("key.pem") });
    QVERIFY2(waitForPort(m_tlsPort, m_tlsServer), "openssl s_server did not start");

    const QString helpers = "/usr/lib/squid/";
    m_basicPort = freePort();
    QVERIFY2(startSquid(m_basicSquid, m_basicPort, "basic",
                        QStringLiteral("auth_param basic program %1basic_ncsa_auth %2\n"
                                       "auth_param basic children 1\n"
                                       "auth_param basic realm quorle")
                            .arg(helpers, path("basic.passwd"))),
             m_basicSquid.readAll().constData());
    m_digestPort = freePort();
    QVERIFY2(startSquid(m_digestSquid, m_digestPort, "digest",
                        QStringLiteral("auth_param digest program %1digest_file_auth %2\n"
                                       "auth_param digest children 1\n"
                                       "auth_param digest realm quorle")
                            .arg(helpers, path("digest.passwd"))),
             m_digestSquid.readAll().constData());
}

void TestHttpProxy::cleanupTestCase()
{
    stop(m_basicSquid);
    stop(m_digestSquid);
    stop(m_tlsServer);
}

void TestHttpProxy::cleanup()
{
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    QSslConfiguration::setDefaultConfiguration(m_defaultTls);
    TlsSettings::setInsecure(false);
}

// The origin's certificate is self-signed, for "localhost" only.
void TestHttpProxy::tlsVerification_data()
{
    QTest::addColumn<QString>("trust");  // "", "ca-file" or "insecure"
    QTest::addColumn<QByteArray>("host");
    QTest::addColumn<QString>("refusal");  // empty: the page comes

    QTest::newRow("untrusted") << "" << QByteArray("localhost") << "self-signed";
    QTest::newRow("trusted by the CA file") << "ca-file" << QByteArray("localhost") << "";
    QTest::newRow("trusted, but for another name")
        << "ca-file" << QByteArray("127.0.0.1") << "host name did not match";
    QTest::newRow("insecure") << "insecure" << QByteArray("127.0.0.1") << "";
}

void TestHttpProxy::tlsVerification()
{
    QFETCH(QString, trust);
    QFETCH(QByteArray, host);
    QFETCH(QString, refusal);
    QString message;
    if (trust == "ca-file")
        QVERIFY2(TlsSettings::addCaFile(path("cert.pem"), &message), qPrintable(message));
    TlsSettings::setInsecure(trust == "insecure");

    const Outcome out = fetch(HttpClient::ConnectionModeHttps, m_tlsPort, "/page.txt", host);
    if (refusal.isEmpty()) {
        QVERIFY2(!out.failed, qPrintable(out.text));
        QCOMPARE(out.body, m_page);
        return;
    }
    QVERIFY(out.failed);
    QCOMPARE(out.status, -1);
    QVERIFY2(out.text.startsWith("Certificate of " + host + " not trusted: "), qPrintable(out.text));
    QVERIFY2(out.text.contains(refusal), qPrintable(out.text));
}

void TestHttpProxy::throughProxy_data()
{
    QTest::addColumn<QString>("scheme");
    QTest::addColumn<bool>("tunnel");
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("code");
    for (const QString scheme : { "basic", "digest" }) {
        for (const bool tunnel : { false, true }) {
            const QString name = scheme + (tunnel ? " CONNECT" : " in the clear");
            QTest::newRow(qPrintable(name)) << scheme << tunnel << "secret" << 0;
        }
    }
    QTest::newRow("basic, wrong password") << "basic" << false << "wrong" << 9;
    QTest::newRow("basic CONNECT, wrong password") << "basic" << true << "wrong" << 9;
    QTest::newRow("digest CONNECT, wrong password") << "digest" << true << "wrong" << 9;
    QTest::newRow("digest, wrong password") << "digest" << false << "wrong" << 9;
}

void TestHttpProxy::throughProxy()
{
    QFETCH(QString, scheme);
    QFETCH(bool, tunnel);
    QFETCH(QString, password);
    QFETCH(int, code);
    const quint16 proxyPort = scheme == "basic" ? m_basicPort : m_digestPort;
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", proxyPort, "robin", password));

    QByteArray originHead;
    ScriptedServer origin([&](QTcpSocket* s, QByteArray& in) {
        if (ScriptedServer::takeRequest(in, &originHead))
            s->write("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\norigin");
    });

    // openssl's file server takes no query.
    const QByteArray target = tunnel ? "/page.txt" : "/page.txt?x=1";
    QString message;
    QVERIFY2(TlsSettings::addCaFile(path("cert.pem"), &message), qPrintable(message));
    const Outcome out = tunnel
        ? fetch(HttpClient::ConnectionModeHttps, m_tlsPort, target, "localhost")
        : fetch(HttpClient::ConnectionModeHttp, origin.port(), target);
    QCOMPARE(out.code, code);
    if (code != 0) {
        QVERIFY(out.failed);
        if (!tunnel)
            QCOMPARE(out.text, QString("Proxy authentication required"));
        return;
    }
    QVERIFY2(!out.failed, qPrintable(out.text));
    QCOMPARE(out.status, 200);
    QFile log(path(scheme + "-access.log"));
    if (tunnel) {
        QCOMPARE(out.body, m_page);
        // The head inside the tunnel is the plain origin form.
        QVERIFY(out.sentHead.startsWith("GET " + target + " HTTP/1.1"));
        QVERIFY(QTest::qWaitFor(
            [&] {
                log.open(QIODevice::ReadOnly);
                const QByteArray all = log.readAll();
                log.close();
                return all.contains("CONNECT localhost:" + QByteArray::number(m_tlsPort) + " robin");
            },
            5000));
    } else {
        QCOMPARE(out.body, QByteArray("origin"));
        QVERIFY(out.sentHead.startsWith("GET http://127.0.0.1:" + QByteArray::number(origin.port())
                                        + target + " HTTP/1.1"));
        QVERIFY(out.sentHead.toLower().contains("proxy-authorization: " + scheme.toLatin1()));
        // The origin got the request from squid, without the credentials.
        QVERIFY(originHead.toLower().contains("via:"));
        QVERIFY(!originHead.toLower().contains("proxy-authorization"));
    }
}

// A fresh client's first upload meets the challenge while its body is held back for
// a 100: it must not go on with that connection, where the proxy would read the
// resent request as the body.
void TestHttpProxy::uploadHeldBackThroughProxy_data()
{
    QTest::addColumn<QString>("scheme");
    QTest::addColumn<int>("size");
    for (const QString scheme : { "basic", "digest" }) {
        for (const int size : { 0, 5000, 300000 })
            QTest::newRow(qPrintable(QStringLiteral("%1, %2 bytes").arg(scheme).arg(size)))
                << scheme << size;
    }
}

void TestHttpProxy::uploadHeldBackThroughProxy()
{
    QFETCH(QString, scheme);
    QFETCH(int, size);
    QNetworkProxy::setApplicationProxy(QNetworkProxy(
        QNetworkProxy::HttpProxy, "127.0.0.1", scheme == "basic" ? m_basicPort : m_digestPort,
        "robin", "secret"));
    QByteArray received;
    ScriptedServer origin([&](QTcpSocket* s, QByteArray& in) {
        QByteArray head;
        if (received.isNull() && ScriptedServer::takeRequest(in, &head)) {
            received = "";
            if (head.toLower().contains("expect: 100-continue"))
                s->write("HTTP/1.1 100 Continue\r\n\r\n");
        }
        if (!received.isNull()) {
            received += in;
            in.clear();
            if (received.size() >= size)
                s->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
        }
    });
    QByteArray data(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        data[i] = char('a' + i % 26);
    QBuffer body(&data);
    QElapsedTimer timer;
    timer.start();
    const Outcome out = fetch(HttpClient::ConnectionModeHttp, origin.port(), "/up", "127.0.0.1", &body);
    QVERIFY2(!out.failed, qPrintable(out.text));
    QCOMPARE(out.status, 200);
    QCOMPARE(received, data);
    QVERIFY2(timer.elapsed() < 10000, "stalled");
}

// Later requests reuse the nonce with a rising count, on the kept connection.
void TestHttpProxy::digestServesLaterRequestsOnOneConnection()
{
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", m_digestPort, "robin", "secret"));
    ScriptedServer origin([](QTcpSocket* s, QByteArray& in) {
        while (ScriptedServer::takeRequest(in))
            s->write("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    });
    HttpClient client;
    QList<QPair<int, bool>> finished;
    QList<QByteArray> sent;
    connect(&client, &HttpClient::requestFinished,
            [&](int id, bool error) { finished.append({ id, error }); });
    connect(&client, &HttpClient::requestStarted, [&](int id, const QByteArray& head) {
        if (id == -1)
            sent.append(head);
    });
    client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, origin.port());
    const QUrl url(QStringLiteral("http://127.0.0.1:%1/n").arg(origin.port()));
    for (int i = 0; i < 3; ++i)
        client.request(HttpRequestHeader(HttpRequestHeader::GetMethod, url));
    QVERIFY(QTest::qWaitFor([&] { return finished.size() == 4; }, 20000));
    for (const auto& f : finished)
        QVERIFY(!f.second);
    QVERIFY(sent.last().contains("nc=00000003"));
    QCOMPARE(origin.connections(), 1);
}

QTEST_GUILESS_MAIN(TestHttpProxy)
#include "tst_httpproxy.moc"
