#include <climits>
#include <ctime>
#include <thread>

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "net/httpheader.h"
#include "net/metadata.h"
#include "net/timeoffset.h"

class TestHttpHeader : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void responseHead_data();
    void responseHead();
    void requestWritesFixedVersionAndFieldOrder();
    void requestPath_data();
    void requestPath();
    void contentLength_data();
    void contentLength();
    void appendRemoveAndSort();
    void equalityIgnoresOrderAndCase_data();
    void equalityIgnoresOrderAndCase();
    void keepUserKeys_data();
    void keepUserKeys();
    void initTestCase();
    void cleanup();
    void fromHttpDateForms_data();
    void fromHttpDateForms();
    void averageTruncates_data();
    void averageTruncates();
    void unreachableReferenceGivesZero();
};

static Metadata fieldsOf(const QList<QPair<QByteArray, QByteArray>>& pairs)
{
    Metadata m;
    for (const auto& p : pairs)
        m.append(HttpField(p.first, p.second));
    return m;
}

// The fields as "key:value" lines, in order.
static QByteArray text(const Metadata& m)
{
    QByteArray result;
    for (int i = 0; i < m.count(); ++i)
        result += m.at(i).toByteArray(false) + '\n';
    return result;
}

void TestHttpHeader::responseHead_data()
{
    QTest::addColumn<QByteArray>("raw");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("reason");
    QTest::addColumn<QByteArray>("fields"); // what stayed, as "key:value" lines
    QTest::newRow("no reason") << QByteArray("HTTP/1.0 200\r\nServer: x") << true << 200 << QByteArray() << QByteArray("Server:x\n");
    QTest::newRow("extra blanks") << QByteArray("HTTP/1.1   404 \t  Not   Found") << true << 404 << QByteArray("Not Found") << QByteArray();
    QTest::newRow("code digit then letters") << QByteArray("HTTP/1.1 2xx Fine") << true << 0 << QByteArray("Fine") << QByteArray();
    QTest::newRow("code starts with letter") << QByteArray("HTTP/1.1 x200 OK") << false << -1 << QByteArray() << QByteArray();
    QTest::newRow("version without point") << QByteArray("HTTP/11 200 OK") << false << -1 << QByteArray() << QByteArray();
    QTest::newRow("not http") << QByteArray("ICY/1.1 200 OK") << false << -1 << QByteArray() << QByteArray();
    QTest::newRow("blank head, no status") << QByteArray(" \r\n\r\n  \n") << true << -1 << QByteArray() << QByteArray();
    QTest::newRow("repeated field: the last, at the end") << QByteArray("HTTP/1.1 200 OK\r\nETag: 1\r\nDate: d\r\netag: 2\r\n") << true << 200 << QByteArray("OK") << QByteArray("Date:d\netag:2\n");
    QTest::newRow("continuation joins with one blank") << QByteArray("HTTP/1.1 200 OK\r\nX-Long: first\r\n \t second  \r\nA: b\r\n") << true << 200 << QByteArray("OK") << QByteArray("X-Long:first second\nA:b\n");
    QTest::newRow("bare LF and blank lines") << QByteArray("\n\nHTTP/1.1 201 Created\nA:  1 \n\n\nB:\n") << true << 201 << QByteArray("Created") << QByteArray("A:1\nB:\n");
    QTest::newRow("line without colon invalidates, earlier fields kept") << QByteArray("HTTP/1.1 200 OK\r\nA: 1\r\ngarbage\r\nB: 2\r\n") << false << 200 << QByteArray("OK") << QByteArray("A:1\n");
    QTest::newRow("status line continued") << QByteArray("  HTTP/1.1 503 Slow\r\n\tDown\r\nA: 1") << true << 503 << QByteArray("Slow Down") << QByteArray("A:1\n");
}

void TestHttpHeader::responseHead()
{
    QFETCH(QByteArray, raw);
    QFETCH(bool, valid);
    QFETCH(int, code);
    QFETCH(QByteArray, reason);
    QFETCH(QByteArray, fields);
    HttpResponseHeader head(raw);
    QCOMPARE(head.isValid(), valid);
    QCOMPARE(head.statusCode(), code);
    QCOMPARE(head.reasonPhrase(), reason);
    QCOMPARE(text(head.metadata()), fields);
}

void TestHttpHeader::requestWritesFixedVersionAndFieldOrder()
{
    HttpRequestHeader head(HttpRequestHeader::PutMethod, QUrl("http://h.localhost/b/k"), 1, 0);
    head.addField(HttpField("Host", "h.localhost"));
    head.addField(HttpField("Date", "d"));
    head.setContentLength(12);
    head.addField(HttpField("host", "other.localhost"));
    QCOMPARE(head.toByteArray(),
             QByteArray("PUT /b/k HTTP/1.1\r\nDate: d\r\nContent-Length: 12\r\n"
                        "host: other.localhost\r\n\r\n"));
    QCOMPARE(head.minorVersion(), 0);
}

void TestHttpHeader::requestPath_data()
{
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<bool>("proxy");
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("origin with query") << QByteArray("https://s3.localhost/b/a%20b?acl&x=1") << false << QByteArray("/b/a%20b?acl&x=1");
    QTest::newRow("empty url gets a slash") << QByteArray() << false << QByteArray("/");
    QTest::newRow("proxy keeps port") << QByteArray("http://s3.localhost:8080/k") << true << QByteArray("http://s3.localhost:8080/k");
}

void TestHttpHeader::requestPath()
{
    QFETCH(QByteArray, url);
    QFETCH(bool, proxy);
    QFETCH(QByteArray, path);
    HttpRequestHeader head(HttpRequestHeader::GetMethod, QUrl::fromEncoded(url));
    head.setCachingProxyInUse(proxy);
    QCOMPARE(head.path(), path);
    QVERIFY(head.toByteArray().startsWith("GET " + path + " HTTP/1.1\r\n"));
}

void TestHttpHeader::contentLength_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("present");
    QTest::addColumn<qint64>("length");
    QTest::newRow("large") << QByteArray("HTTP/1.1 200 OK\r\ncontent-length: 5000000000\r\n") << true << qint64(5000000000LL);
    QTest::newRow("malformed") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 12x\r\n") << true << qint64(0);
}

void TestHttpHeader::contentLength()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, present);
    QFETCH(qint64, length);
    HttpResponseHeader head(text);
    QCOMPARE(head.containsContentLength(), present);
    QCOMPARE(head.contentLength(), length);
}

void TestHttpHeader::appendRemoveAndSort()
{
    // A name held again, in any case, replaces the old field and moves to the end.
    Metadata m = fieldsOf({ { "ETag", "a" }, { "Date", "d" }, { "etag", "b" } });
    QCOMPARE(text(m), QByteArray("Date:d\netag:b\n"));
    m.append(fieldsOf({ { "DATE", "e" }, { "X-New", "n" } }));
    QCOMPARE(text(m), QByteArray("etag:b\nDATE:e\nX-New:n\n"));
    QCOMPARE(m.at(2).toByteArray(true), QByteArray("X-New: n"));
    QCOMPARE(m.field("date").value(), QByteArray("e"));
    QVERIFY(m.field("missing").isNull());

    // Sorted by the bytes of the keys, then of the values.
    m.append(HttpField("a", "z"));
    m.sort();
    QCOMPARE(text(m), QByteArray("DATE:e\nX-New:n\na:z\netag:b\n"));
    QVERIFY(qHttpFieldLessThan(HttpField("k", "A"), HttpField("k", "a")));
    QVERIFY(!qHttpFieldLessThan(HttpField("k", "a"), HttpField("k", "a")));

    m.remove("ETAG");
    m.remove(QList<QByteArray>{ "date", "X-NEW" });
    QCOMPARE(text(m), QByteArray("a:z\n"));
}

void TestHttpHeader::equalityIgnoresOrderAndCase_data()
{
    QTest::addColumn<Metadata>("left");
    QTest::addColumn<Metadata>("right");
    QTest::addColumn<bool>("equal");
    QTest::newRow("other order") << fieldsOf({ { "a", "1" }, { "b", "2" } }) << fieldsOf({ { "b", "2" }, { "a", "1" } }) << true;
    QTest::newRow("value case") << fieldsOf({ { "a", "Text" } }) << fieldsOf({ { "A", "tEXT" } }) << true;
    QTest::newRow("subset") << fieldsOf({ { "a", "1" } }) << fieldsOf({ { "a", "1" }, { "b", "2" } }) << false;
}

void TestHttpHeader::equalityIgnoresOrderAndCase()
{
    QFETCH(Metadata, left);
    QFETCH(Metadata, right);
    QFETCH(bool, equal);
    QCOMPARE(left == right, equal);
    QCOMPARE(right != left, !equal);
}

void TestHttpHeader::keepUserKeys_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<bool>("kept");
    QTest::newRow("amz lower") << QByteArray("x-amz-meta-owner") << true;
    QTest::newRow("amz capitals") << QByteArray("X-AMZ-META-OWNER") << false;
    QTest::newRow("nifty") << QByteArray("x-nifty-meta-owner") << false;
    QTest::newRow("content-type any case") << QByteArray("CONTENT-type") << true;
    QTest::newRow("etag") << QByteArray("ETag") << false;
}

void TestHttpHeader::keepUserKeys()
{
    QFETCH(QByteArray, key);
    QFETCH(bool, kept);
    Metadata m = fieldsOf({ { "Date", "now" }, { key, "v" } });
    m.keepUserKeys();
    QCOMPARE(text(m), kept ? key + ":v\n" : QByteArray());
}

namespace {

const int global_noDate = INT_MIN;

// Answers one HEAD request per offset on `port`, with a "Date" that many seconds
// off the local clock. The remote clock is read in whole seconds: the answer waits
// for the early part of a second, so that the local reading comes 0.2 to 0.5 s after
// the stated second and the measured offset, truncated, comes out exactly as asked.
void serveReference(const QList<int>& offsets, QAtomicInt* port, QList<QByteArray>* requestLines)
{
    QTcpServer server;
    port->storeRelease(server.listen(QHostAddress::LocalHost, 0) ? server.serverPort() : -1);
    for (const int offset : offsets) {
        if (!server.waitForNewConnection(10000))
            return;
        const std::unique_ptr<QTcpSocket> socket(server.nextPendingConnection());
        QByteArray in;
        while (!in.contains("\r\n\r\n") && socket->waitForReadyRead(10000))
            in += socket->readAll();
        requestLines->append(in.left(in.indexOf("\r\n")));
        const int ms = int(QDateTime::currentMSecsSinceEpoch() % 1000);
        QThread::msleep(ms < 200 ? 200 - ms : (ms > 500 ? 1200 - ms : 0));
        QByteArray head = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n";
        const auto stated = QDateTime::currentSecsSinceEpoch() + (offset >= 0 ? offset + 1 : offset);
        if (offset != global_noDate)
            head += QLocale::c().toString(QDateTime::fromSecsSinceEpoch(stated, Qt::UTC),
                                          "'Date: 'ddd, dd MMM yyyy hh:mm:ss' GMT'\r\n").toLatin1();
        socket->write(head + "\r\n");
        socket->waitForBytesWritten(5000);
        socket->disconnectFromHost();
        if (socket->state() != QAbstractSocket::UnconnectedState)
            socket->waitForDisconnected(5000);
    }
}

} // namespace

void TestHttpHeader::initTestCase()
{
    // A local zone away from UTC, so that a date read as local time would show.
    qputenv("TZ", "XYZ-3");
    tzset();
}

void TestHttpHeader::cleanup()
{
    qunsetenv("QUORLE_TIME_REFERENCE");
}

void TestHttpHeader::fromHttpDateForms_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::newRow("RFC 1123") << "Sun, 06 Nov 1994 08:49:37 GMT" << true;
    QTest::newRow("asctime") << "Sun Nov  6 08:49:37 1994" << true;
    QTest::newRow("not a date") << "yesterday, around noon" << false;
    QTest::newRow("day out of range") << "Sun, 32 Nov 1994 08:49:37 GMT" << false;
}

void TestHttpHeader::fromHttpDateForms()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    const QDateTime moment(QDate(1994, 11, 6), QTime(8, 49, 37), Qt::UTC);
    const QDateTime read = fromHttpDate(text);
    QCOMPARE(read.isValid(), valid);
    if (valid) {
        QCOMPARE(read.timeSpec(), Qt::UTC);
        QCOMPARE(read, moment);
    }
}

void TestHttpHeader::averageTruncates_data()
{
    QTest::addColumn<QList<int>>("offsets");
    QTest::addColumn<int>("expected");
    QTest::newRow("+10 +10 failed") << QList<int>{ 10, 10, global_noDate } << 6;
    QTest::newRow("-1 -1 failed: towards zero") << QList<int>{ -1, -1, global_noDate } << 0;
    QTest::newRow("no dates at all") << QList<int>{ global_noDate, global_noDate, global_noDate } << 0;
}

void TestHttpHeader::averageTruncates()
{
    QFETCH(QList<int>, offsets);
    QFETCH(int, expected);
    QAtomicInt port = 0;
    QList<QByteArray> lines;
    // The measurement blocks this thread: the reference answers from its own.
    std::thread reference(serveReference, offsets, &port, &lines);
    while (port.loadAcquire() == 0)
        QThread::msleep(5);
    qputenv("QUORLE_TIME_REFERENCE", "127.0.0.1:" + QByteArray::number(port.loadAcquire()));
    const int measured = TimeOffset::computeTimeOffset();
    reference.join();
    QCOMPARE(measured, expected);
    QCOMPARE(lines, QList<QByteArray>(3, "HEAD / HTTP/1.1"));
}

void TestHttpHeader::unreachableReferenceGivesZero()
{
    quint16 closedPort;
    {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        closedPort = probe.serverPort();
    }
    qputenv("QUORLE_TIME_REFERENCE", "127.0.0.1:" + QByteArray::number(closedPort));
    QCOMPARE(TimeOffset::computeTimeOffset(), 0);
}

QTEST_GUILESS_MAIN(TestHttpHeader)
#include "tst_httpheader.moc"
