#include <optional>

#include <QBuffer>
#include <QNetworkProxy>
#include <QtTest>

#include "net/httpclient.h"
#include "net/tcpsocket.h"
#include "scriptedserver.h"

namespace {

const QByteArray global_ok5("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello");

// A client on a loopback port and what its owner sees.
struct Recorder
{
    explicit Recorder(quint16 port = 0)
    {
        if (port)
            client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, port);
        QObject::connect(&client, &HttpClient::requestFinished, [this](int id, bool error) {
            finished.append({ id, error });
            bodies.insert(id, body);
            body.clear();
        });
        QObject::connect(&client, &HttpClient::responseHeaderReceived,
                         [this](const HttpResponseHeader& h) { heads.append(h); });
        QObject::connect(&client, &HttpClient::readyRead,
                         [this](const HttpResponseHeader&) { body += client.readAll(); });
    }

    bool waitFinished(int count, int ms = 10000)
    {
        return QTest::qWaitFor([&] { return finished.size() >= count; }, ms);
    }
    bool failed(int id) const { return finished.contains({ id, true }); }
    bool sawFinished(int id) const { return failed(id) || finished.contains({ id, false }); }

    HttpClient client;
    QList<QPair<int, bool>> finished;
    QList<HttpResponseHeader> heads;
    QByteArray body;
    QHash<int, QByteArray> bodies;
};

HttpRequestHeader get(const QByteArray& path)
{
    return HttpRequestHeader(HttpRequestHeader::GetMethod, QUrl::fromEncoded(path));
}

HttpRequestHeader put(const QByteArray& path, bool expectContinue)
{
    HttpRequestHeader h(HttpRequestHeader::PutMethod, QUrl::fromEncoded(path));
    if (expectContinue)
        h.addField(HttpField("Expect", "100-continue"));
    return h;
}

// Answers every whole request with the given response.
ScriptedServer::Script answerEach(const QByteArray& response)
{
    return [response](QTcpSocket* s, QByteArray& in) {
        while (ScriptedServer::takeRequest(in))
            s->write(response);
    };
}

} // namespace

class TestHttpClient : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void responseOutcome_data();
    void responseOutcome();
    void chunkedBodySplitAnywhere_data();
    void chunkedBodySplitAnywhere();
    void expectContinue_data();
    void expectContinue();
    void brokenSendIsResent_data();
    void brokenSendIsResent();
    void failureDropsQueuedRequests_data();
    void failureDropsQueuedRequests();
    void abortDuringResponse();
    void abortInsideSuccessfulFinish();
    void proxyRefusingCredentialsEndsTheRequest_data();
    void proxyRefusingCredentialsEndsTheRequest();
};

void TestHttpClient::responseOutcome_data()
{
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("stateAfter");
    QTest::addColumn<bool>("closeAfter"); // the server sends slowly, then closes
    const int connected = HttpClient::Connected;
    const int unconnected = HttpClient::Unconnected;
    const int wrongLength = HttpClient::WrongContentLength;
    const int badHead = HttpClient::InvalidResponseHeader;
    QTest::newRow("100 with nothing held back is skipped") << "HTTP/1.1 100 Continue\r\n\r\n" + global_ok5 << 0 << QByteArray("hello") << connected << false;
    QTest::newRow("head line longer than the line buffer") << "HTTP/1.1 200 OK\r\nX-Long: " + QByteArray(2048, 'l') + "\r\nContent-Length: 2\r\n\r\nok" << 0 << QByteArray("ok") << connected << false;
    QTest::newRow("Connection: close") << QByteArray("HTTP/1.1 200 OK\r\nConnection: Close\r\nContent-Length: 2\r\n\r\nok") << 0 << QByteArray("ok") << unconnected << false;
    QTest::newRow("bad chunk size") << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nx\r\n") << wrongLength << QByteArray() << unconnected << false;
    QTest::newRow("head line without colon") << QByteArray("HTTP/1.1 200 OK\r\nno colon here\r\n\r\n") << badHead << QByteArray() << unconnected << false;
    // Truncation is for the owner to notice.
    QTest::newRow("closed short of its Content-Length") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\npartial") << 0 << QByteArray("partial") << unconnected << true;
    QTest::newRow("no length: the close ends it") << QByteArray("HTTP/1.1 200 OK\r\n\r\nall of it") << 0 << QByteArray("all of it") << unconnected << true;
}

void TestHttpClient::responseOutcome()
{
    QFETCH(QByteArray, response);
    QFETCH(int, code);
    QFETCH(QByteArray, body);
    QFETCH(int, stateAfter);
    QFETCH(bool, closeAfter);
    ScriptedServer server([&](QTcpSocket* s, QByteArray& in) {
        while (ScriptedServer::takeRequest(in))
            ScriptedServer::writeSlowly(s, { response }, 20, closeAfter);
    });
    Recorder rec(server.port());
    HttpClient& client = rec.client;
    const int id = client.request(HttpRequestHeader(HttpRequestHeader::PutMethod, QUrl("/r")), QByteArray("in memory"));
    QVERIFY(rec.waitFinished(2));
    QCOMPARE(rec.failed(id), code != 0);
    QCOMPARE(int(client.error()), code);
    QCOMPARE(rec.bodies.value(id), body);
    QCOMPARE(rec.heads.size(), code == HttpClient::InvalidResponseHeader ? 0 : 1);
    QVERIFY(QTest::qWaitFor([&] { return int(client.state()) == stateAfter; }, 2000));
    QVERIFY(server.received().endsWith("\r\n\r\nin memory"));
}

static const QByteArray global_chunkedResponse =
    "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
    "5\r\nhello\r\n"
    "7;name=value\r\n, world\r\n"
    "1\r\n!\r\n"
    "0\r\nX-Trailer: yes\r\n\r\n";

void TestHttpClient::chunkedBodySplitAnywhere_data()
{
    QTest::addColumn<int>("split");
    const int headEnd = int(global_chunkedResponse.indexOf("\r\n\r\n")) + 4;
    for (int i = headEnd; i < global_chunkedResponse.size(); ++i)
        QTest::addRow("at %d", i) << i;
    QTest::newRow("byte by byte") << -1;
}

void TestHttpClient::chunkedBodySplitAnywhere()
{
    QFETCH(int, split);
    QList<QByteArray> pieces;
    if (split < 0) {
        for (char c : global_chunkedResponse)
            pieces.append(QByteArray(1, c));
    } else {
        pieces = { global_chunkedResponse.left(split), global_chunkedResponse.mid(split) };
    }
    ScriptedServer server([&](QTcpSocket* s, QByteArray& in) {
        if (ScriptedServer::takeRequest(in))
            ScriptedServer::writeSlowly(s, pieces, split < 0 ? 2 : 40);
    });
    Recorder rec(server.port());
    HttpClient& client = rec.client;
    const int id = client.request(get("/c"));
    QVERIFY(rec.waitFinished(2));
    QVERIFY(!rec.failed(id));
    QCOMPARE(rec.bodies.value(id), QByteArray("hello, world!"));
    QCOMPARE(client.state(), HttpClient::Connected);
}

void TestHttpClient::expectContinue_data()
{
    QTest::addColumn<bool>("grant");
    QTest::newRow("100 then the body") << true;
    QTest::newRow("early 403, body never sent") << false;
}

void TestHttpClient::expectContinue()
{
    QFETCH(bool, grant);
    const QByteArray payload(10000, 'p');
    QByteArray bodySeen;
    bool answered = false;
    ScriptedServer server([&](QTcpSocket* s, QByteArray& in) {
        if (!answered) {
            if (!ScriptedServer::takeRequest(in))
                return;
            answered = true;
            if (!grant) {
                s->write("HTTP/1.1 403 Forbidden\r\nContent-Length: 6\r\n\r\ndenied");
                return;
            }
            s->write("HTTP/1.1 100 Continue\r\n\r\n");
        }
        bodySeen += in;
        in.clear();
        if (bodySeen.size() == payload.size())
            s->write("HTTP/1.1 201 Created\r\nContent-Length: 0\r\n\r\n");
    });
    QBuffer device;
    device.setData(payload);
    Recorder rec(server.port());
    HttpClient& client = rec.client;
    const int id = client.request(put("/up", true), &device);
    QVERIFY(rec.waitFinished(2));
    QVERIFY(!rec.failed(id));
    QCOMPARE(rec.heads.last().statusCode(), grant ? 201 : 403);
    if (grant) {
        QCOMPARE(rec.heads.first().statusCode(), 100);
        QCOMPARE(bodySeen, payload);
    } else {
        QCOMPARE(rec.bodies.value(id), QByteArray("denied"));
        QTest::qWait(200);
        QVERIFY(bodySeen.isEmpty());
        QVERIFY(!server.received().contains("pppp"));
    }
}

void TestHttpClient::brokenSendIsResent_data()
{
    QTest::addColumn<bool>("fromDevice");
    QTest::newRow("memory body") << false;
    QTest::newRow("device body") << true;
}

void TestHttpClient::brokenSendIsResent()
{
    QFETCH(bool, fromDevice);
    const QByteArray payload = "the body";
    int connection = 0;
    QByteArray secondBody;
    ScriptedServer server([&](QTcpSocket* s, QByteArray& in) {
        if (in.isEmpty() && s->property("n").isNull()) {
            s->setProperty("n", ++connection);
            return;
        }
        if (!in.contains("\r\n\r\n"))
            return;
        if (s->property("n").toInt() == 1) {
            s->abort();  // breaks the first attempt while it is being sent
            return;
        }
        QTimer::singleShot(200, s, [&, s] {
            secondBody = in.mid(in.indexOf("\r\n\r\n") + 4);
            s->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
        });
    });
    QBuffer device;
    device.setData(payload);
    Recorder rec(server.port());
    HttpClient& client = rec.client;
    const int id = fromDevice ? client.request(put("/r", false), &device) : client.request(put("/r", false), payload);
    QVERIFY(rec.waitFinished(2));
    QVERIFY(!rec.failed(id));
    QCOMPARE(server.connections(), 2);
    QCOMPARE(secondBody, payload);
}

void TestHttpClient::failureDropsQueuedRequests_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("no host set") << "none" << 1 << "No server set to connect to";
    QTest::newRow("refused") << "closed" << 3 << "Connection refused (or timed out)";
    QTest::newRow("silent server times out") << "silent" << 10 << "Request timeout";
}

void TestHttpClient::failureDropsQueuedRequests()
{
    QFETCH(QString, server);
    QFETCH(int, code);
    QFETCH(QString, text);
    std::optional<ScriptedServer> silent; // accepts and says nothing
    quint16 port = 0;
    if (server == "silent") {
        silent.emplace();
        port = silent->port();
    } else if (server == "closed") {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        port = probe.serverPort();
    }
    SocketActivity::setInactivityTimeout(300);
    Recorder rec(port);
    const int first = rec.client.request(get("/1"));
    const int second = rec.client.request(get("/2"));
    QElapsedTimer clock;
    clock.start();
    const bool done = QTest::qWaitFor([&] { return rec.sawFinished(first); }, 10000);
    SocketActivity::setInactivityTimeout(30000);
    QVERIFY(done);
    QVERIFY(!silent || clock.elapsed() >= 250);
    QTest::qWait(100);
    QVERIFY(rec.failed(first) && !rec.sawFinished(second));
    QCOMPARE(int(rec.client.error()), code);
    QCOMPARE(rec.client.errorString(), text);
    QCOMPARE(rec.client.currentId(), 0);
    // A connection that timed out is closed.
    QVERIFY(!silent || QTest::qWaitFor([&] { return silent->disconnections() == 1; }, 5000));
}

void TestHttpClient::abortDuringResponse()
{
    ScriptedServer server([](QTcpSocket* s, QByteArray& in) {
        while (ScriptedServer::takeRequest(in))
            s->write(in.isEmpty() && s->property("served").toBool() ? global_ok5
                         : QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nfirst"));
        s->setProperty("served", true);
    });
    Recorder rec(server.port());
    HttpClient& client = rec.client;
    bool aborted = false;
    connect(&client, &HttpClient::readyRead, [&] {
        if (!std::exchange(aborted, true))
            client.abort();
    });
    const int id = client.request(get("/slow"));
    const int behind = client.request(get("/behind"));
    QVERIFY(rec.waitFinished(2));
    QVERIFY(rec.failed(id));
    QCOMPARE(int(client.error()), 7);
    QCOMPARE(client.errorString(), QString("Request aborted"));
    QTest::qWait(50);
    QVERIFY(!rec.sawFinished(behind));

    // The client serves the next request on a fresh connection.
    const int next = client.request(get("/again"));
    QVERIFY(rec.waitFinished(3));
    QVERIFY(!rec.failed(next));
    QCOMPARE(server.connections(), 2);
}

void TestHttpClient::abortInsideSuccessfulFinish()
{
    ScriptedServer server(answerEach(global_ok5));
    Recorder rec(server.port());
    HttpClient& client = rec.client;
    const int id = client.request(get("/1"));
    const int behind = client.request(get("/2"));
    connect(&client, &HttpClient::requestFinished, [&](int finishedId, bool) {
        if (finishedId == id)
            client.abort();
    });
    QVERIFY(rec.waitFinished(2));
    QTest::qWait(100);
    QVERIFY(!rec.failed(id));
    QVERIFY(!rec.sawFinished(behind));
    QVERIFY(!client.hasPendingRequests());
    QCOMPARE(client.currentId(), 0);
}

void TestHttpClient::proxyRefusingCredentialsEndsTheRequest_data()
{
    QTest::addColumn<QByteArray>("challenge");
    QTest::newRow("basic") << QByteArray("Basic realm=\"q\"");
    QTest::newRow("digest") << QByteArray("Digest realm=\"q\", nonce=\"n1\", qop=\"auth\"");
}

// A wrong proxy password must end the request, not answer challenges forever.
void TestHttpClient::proxyRefusingCredentialsEndsTheRequest()
{
    QFETCH(QByteArray, challenge);
    ScriptedServer proxy(answerEach("HTTP/1.1 407 Proxy Authentication Required\r\nProxy-Authenticate: "
                                    + challenge + "\r\nContent-Length: 0\r\n\r\n"));
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", proxy.port(), "robin", "wrong"));
    Recorder rec;
    HttpClient& client = rec.client;
    client.setHost("origin.localhost", HttpClient::ConnectionModeHttp, 80);
    const int id = client.request(get("http://origin.localhost/x"));
    const bool done = QTest::qWaitFor([&] { return rec.sawFinished(id); }, 10000);
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    QVERIFY(done);
    QVERIFY(rec.failed(id));
    QCOMPARE(int(client.error()), 9);
    QCOMPARE(client.errorString(), QString("Proxy authentication required"));
    QVERIFY(proxy.received().contains("GET http://origin.localhost"));
    QVERIFY(proxy.received().toLower().count("proxy-authorization:") <= 2);
}

QTEST_GUILESS_MAIN(TestHttpClient)
#include "tst_httpclient.moc"
