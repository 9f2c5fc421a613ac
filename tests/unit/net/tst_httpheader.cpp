#include <QtTest>

#include "net/httpheader.h"

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
};

void TestHttpHeader::responseHead_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("reason");
    QTest::addColumn<QByteArray>("fields"); // key=value;... of what stayed
    QTest::newRow("no reason") << QByteArray("HTTP/1.0 200\r\nServer: x") << true << 200 << QByteArray() << QByteArray("Server=x");
    QTest::newRow("extra blanks") << QByteArray("HTTP/1.1   404 \t  Not   Found") << true << 404 << QByteArray("Not Found") << QByteArray();
    QTest::newRow("code digit then letters") << QByteArray("HTTP/1.1 2xx Fine") << true << 0 << QByteArray("Fine") << QByteArray();
    QTest::newRow("code starts with letter") << QByteArray("HTTP/1.1 x200 OK") << false << -1 << QByteArray() << QByteArray();
    QTest::newRow("version without point") << QByteArray("HTTP/11 200 OK") << false << -1 << QByteArray() << QByteArray();
    QTest::newRow("only the version") << QByteArray("HTTP/1.1") << false << -1 << QByteArray() << QByteArray();
    QTest::newRow("not http") << QByteArray("ICY/1.1 200 OK") << false << -1 << QByteArray() << QByteArray();
    QTest::newRow("blank head, no status") << QByteArray(" \r\n\r\n  \n") << true << -1 << QByteArray() << QByteArray();
    QTest::newRow("repeated field: the last, at the end") << QByteArray("HTTP/1.1 200 OK\r\nETag: 1\r\nDate: d\r\netag: 2\r\n") << true << 200 << QByteArray("OK") << QByteArray("Date=d;etag=2");
    QTest::newRow("continuation joins with one blank") << QByteArray("HTTP/1.1 200 OK\r\nX-Long: first\r\n \t second  \r\nA: b\r\n") << true << 200 << QByteArray("OK") << QByteArray("X-Long=first second;A=b");
    QTest::newRow("bare LF and blank lines") << QByteArray("\n\nHTTP/1.1 201 Created\nA:  1 \n\n\nB:\n") << true << 201 << QByteArray("Created") << QByteArray("A=1;B=");
    QTest::newRow("line without colon invalidates, earlier fields kept") << QByteArray("HTTP/1.1 200 OK\r\nA: 1\r\ngarbage\r\nB: 2\r\n") << false << 200 << QByteArray("OK") << QByteArray("A=1");
    QTest::newRow("status line continued") << QByteArray("  HTTP/1.1 503 Slow\r\n\tDown\r\nA: 1") << true << 503 << QByteArray("Slow Down") << QByteArray("A=1");
}

void TestHttpHeader::responseHead()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, valid);
    QFETCH(int, code);
    QFETCH(QByteArray, reason);
    QFETCH(QByteArray, fields);
    HttpResponseHeader head(text);
    QCOMPARE(head.isValid(), valid);
    QCOMPARE(head.statusCode(), code);
    QCOMPARE(head.reasonPhrase(), reason);
    QList<QByteArray> seen;
    const Metadata m = head.metadata();
    for (int i = 0; i < m.count(); ++i)
        seen << m.at(i).key() + '=' + m.at(i).value();
    QCOMPARE(seen.join(';'), fields);
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
    QTest::newRow("proxy absolute, no port") << QByteArray("http://s3.localhost/b/a%2Bb?x=%2F") << true << QByteArray("http://s3.localhost/b/a%2Bb?x=%2F");
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

QTEST_GUILESS_MAIN(TestHttpHeader)
#include "tst_httpheader.moc"
