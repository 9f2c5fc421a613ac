#include <QBuffer>
#include <QNetworkProxy>
#include <QtTest>

#include "net/httpclient.h"
#include "net/tcpsocket.h"
#include "scriptedserver.h"

namespace {

const QByteArray global_ok5("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello");

// What the owner of a client sees.
struct Recorder
{
    explicit Recorder(HttpClient& client) : client(client)
    {
        QObject::connect(&client, &HttpClient::requestStarted, [this](int id, const QByteArray& h) {
            started.append(id);
            lastSentHead = h;
        });
        QObject::connect(&client, &HttpClient::requestFinished, [this](int id, bool error) {
            finished.append({ id, error });
            bodies.insert(id, body);
            body.clear();
        });
        QObject::connect(&client, &HttpClient::responseHeaderReceived,
                         [this](const HttpResponseHeader& h) { heads.append(h); });
        QObject::connect(&client, &HttpClient::readyRead,
                         [this](const HttpResponseHeader&) { body += this->client.readAll(); });
    }

    bool waitFinished(int count, int ms = 10000)
    {
        return QTest::qWaitFor([&] { return finished.size() >= count; }, ms);
    }
    bool failed(int id) const
    {
        for (const auto& f : finished) {
            if (f.first == id)
                return f.second;
        }
        return false;
    }
    bool sawFinished(int id) const
    {
        return std::any_of(finished.cbegin(), finished.cend(),
                           [id](const QPair<int, bool>& f) { return f.first == id; });
    }

    HttpClient& client;
    QList<int> started;
    QByteArray lastSentHead;
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
    void keepAliveReusesConnection();
    void responseOutcome_data();
    void responseOutcome();
    void chunkedBodySplitAnywhere_data();
    void chunkedBodySplitAnywhere();
    void expectContinue_data();
    void expectContinue();
    void brokenSendIsResent_data();
    void brokenSendIsResent();
    void silentServerTimesOut();
    void closeMidResponseCountsAsSuccess_data();
    void closeMidResponseCountsAsSuccess();
    void failureDropsQueuedRequests_data();
    void failureDropsQueuedRequests();
    void abortDuringResponse();
    void abortInsideSuccessfulFinish();
    void proxyRefusingCredentialsEndsTheRequest_data();
    void proxyRefusingCredentialsEndsTheRequest();
};

void TestHttpClient::keepAliveReusesConnection()
{
    ScriptedServer server(answerEach(global_ok5));
    HttpClient client;
    Recorder rec(client);
    const int hostId = client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, server.port());
    const int a = client.request(get("/a"));
    const int b = client.request(get("/b"));
    QVERIFY(client.hasPendingRequests());
    QVERIFY(rec.waitFinished(3));
    QCOMPARE(rec.finished, (QList<QPair<int, bool>>{ { hostId, false }, { a, false }, { b, false } }));
    QCOMPARE(rec.bodies.value(a), QByteArray("hello"));
    QCOMPARE(rec.bodies.value(b), QByteArray("hello"));
    QCOMPARE(server.connections(), 1);
    QCOMPARE(client.state(), HttpClient::Connected);
    // Each normal request announces itself as queued and again as sent.
    QCOMPARE(rec.started, (QList<int>{ hostId, a, -1, b, -1 }));
    QVERIFY(rec.lastSentHead.startsWith("GET /b HTTP/1.1\r\n"));
}

void TestHttpClient::responseOutcome_data()
{
    QTest::addColumn<int>("method");
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("stateAfter");
    const int put = HttpRequestHeader::PutMethod;
    const int connected = HttpClient::Connected;
    const int unconnected = HttpClient::Unconnected;
    QTest::newRow("100 with nothing held back is skipped")
        << put << "HTTP/1.1 100 Continue\r\n\r\n" + global_ok5 << 0 << QByteArray("hello")
        << connected;
    // The length of a HEAD answer describes the resource, not this message.
    QTest::newRow("HEAD has no body")
        << int(HttpRequestHeader::HeadMethod)
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n") << 0 << QByteArray()
        << connected;
    QTest::newRow("204 has no body")
        << int(HttpRequestHeader::DeleteMethod)
        << QByteArray("HTTP/1.1 204 No Content\r\nContent-Length: 99\r\n\r\n") << 0
        << QByteArray() << connected;
    // More than the socket may buffer: the rest waits in the kernel, none is lost.
    const QByteArray big = QByteArray(3 << 20, 'b');
    QTest::newRow("body beyond the read buffer")
        << put << "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(big.size()) + "\r\n\r\n" + big << 0
        << big << connected;
    QTest::newRow("head line longer than the line buffer")
        << put << "HTTP/1.1 200 OK\r\nX-Long: " + QByteArray(2048, 'l') + "\r\nContent-Length: 2\r\n\r\nok" << 0
        << QByteArray("ok") << connected;
    QTest::newRow("Connection: close")
        << put << QByteArray("HTTP/1.1 200 OK\r\nConnection: Close\r\nContent-Length: 2\r\n\r\nok")
        << 0 << QByteArray("ok") << unconnected;
    QTest::newRow("bad chunk size")
        << put << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nx\r\n")
        << int(HttpClient::WrongContentLength) << QByteArray() << unconnected;
    QTest::newRow("head line without colon")
        << put << QByteArray("HTTP/1.1 200 OK\r\nno colon here\r\n\r\n")
        << int(HttpClient::InvalidResponseHeader) << QByteArray() << unconnected;
}

void TestHttpClient::responseOutcome()
{
    QFETCH(int, method);
    QFETCH(QByteArray, response);
    QFETCH(int, code);
    QFETCH(QByteArray, body);
    QFETCH(int, stateAfter);
    ScriptedServer server(answerEach(response));
    HttpClient client;
    Recorder rec(client);
    client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, server.port());
    const int id = client.request(
        HttpRequestHeader(HttpRequestHeader::Method(method), QUrl("/r")), QByteArray("in memory"));
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
    HttpClient client;
    Recorder rec(client);
    client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, server.port());
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
    HttpClient client;
    Recorder rec(client);
    client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, server.port());
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
    HttpClient client;
    Recorder rec(client);
    client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, server.port());
    const int id = fromDevice ? client.request(put("/r", false), &device)
                              : client.request(put("/r", false), payload);
    QVERIFY(rec.waitFinished(2));
    QVERIFY(!rec.failed(id));
    QCOMPARE(server.connections(), 2);
    QCOMPARE(secondBody, payload);
}

void TestHttpClient::silentServerTimesOut()
{
    ScriptedServer server;  // accepts and says nothing
    SocketActivity::setInactivityTimeout(300);
    HttpClient client;
    Recorder rec(client);
    client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, server.port());
    const int id = client.request(get("/silence"));
    const int behind = client.request(get("/behind"));
    QElapsedTimer clock;
    clock.start();
    const bool done = rec.waitFinished(2);
    SocketActivity::setInactivityTimeout(30000);
    QVERIFY(done);
    QVERIFY(clock.elapsed() >= 250);
    QVERIFY(rec.failed(id));
    QCOMPARE(int(client.error()), 10);
    QCOMPARE(client.errorString(), QString("Request timeout"));
    QVERIFY(QTest::qWaitFor([&] { return server.disconnections() == 1; }, 5000));
    QTest::qWait(100);
    QVERIFY(!rec.sawFinished(behind));
}

void TestHttpClient::closeMidResponseCountsAsSuccess_data()
{
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("short of its Content-Length")
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\npartial") << QByteArray("partial");
    QTest::newRow("no length: the close ends it")
        << QByteArray("HTTP/1.1 200 OK\r\n\r\nall of it") << QByteArray("all of it");
}

void TestHttpClient::closeMidResponseCountsAsSuccess()
{
    QFETCH(QByteArray, response);
    QFETCH(QByteArray, body);
    ScriptedServer server([&](QTcpSocket* s, QByteArray& in) {
        if (ScriptedServer::takeRequest(in))
            ScriptedServer::writeSlowly(s, { response }, 20, true);
    });
    HttpClient client;
    Recorder rec(client);
    client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, server.port());
    const int id = client.request(get("/cut"));
    QVERIFY(rec.waitFinished(2));
    // Truncation is for the owner to notice.
    QVERIFY(!rec.failed(id));
    QCOMPARE(rec.bodies.value(id), body);
    QCOMPARE(client.state(), HttpClient::Unconnected);
}

void TestHttpClient::failureDropsQueuedRequests_data()
{
    QTest::addColumn<bool>("withHost");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("refused") << true << 3 << "Connection refused (or timed out)";
    QTest::newRow("no host set") << false << 1 << "No server set to connect to";
}

void TestHttpClient::failureDropsQueuedRequests()
{
    QFETCH(bool, withHost);
    QFETCH(int, code);
    QFETCH(QString, text);
    quint16 closedPort;
    {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        closedPort = probe.serverPort();
    }
    HttpClient client;
    Recorder rec(client);
    if (withHost)
        client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, closedPort);
    const int first = client.request(get("/1"));
    const int second = client.request(get("/2"));
    const int third = client.request(get("/3"));
    QVERIFY(QTest::qWaitFor([&] { return rec.sawFinished(first); }, 10000));
    QTest::qWait(100);
    QVERIFY(rec.failed(first));
    QCOMPARE(int(client.error()), code);
    QCOMPARE(client.errorString(), text);
    QVERIFY(!rec.sawFinished(second));
    QVERIFY(!rec.sawFinished(third));
    QCOMPARE(client.currentId(), 0);
}

void TestHttpClient::abortDuringResponse()
{
    ScriptedServer server([](QTcpSocket* s, QByteArray& in) {
        while (ScriptedServer::takeRequest(in))
            s->write(in.isEmpty() && s->property("served").toBool()
                         ? global_ok5
                         : QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nfirst"));
        s->setProperty("served", true);
    });
    HttpClient client;
    Recorder rec(client);
    bool aborted = false;
    connect(&client, &HttpClient::readyRead, [&] {
        if (!aborted) {
            aborted = true;
            client.abort();
        }
    });
    client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, server.port());
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
    HttpClient client;
    Recorder rec(client);
    client.setHost("127.0.0.1", HttpClient::ConnectionModeHttp, server.port());
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
    HttpClient client;
    Recorder rec(client);
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
