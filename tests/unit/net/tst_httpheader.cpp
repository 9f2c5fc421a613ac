#include <QtTest>

#include "net/httpheader.h"

class TestHttpHeader : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void statusLine_data();
    void statusLine();
    void repeatedFieldKeepsLastAtEnd();
    void foldingAndInvalidLines_data();
    void foldingAndInvalidLines();
    void blankHeadIsValidWithoutStatus();
    void requestWritesFixedVersionAndFieldOrder();
    void requestPath_data();
    void requestPath();
    void contentLength_data();
    void contentLength();
    void metaDataKeepsOnlyUserFields();
};

void TestHttpHeader::statusLine_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("reason");
    QTest::addColumn<int>("minor");
    QTest::newRow("plain") << QByteArray("HTTP/1.1 200 OK") << true << 200 << QByteArray("OK") << 1;
    QTest::newRow("no reason") << QByteArray("HTTP/1.0 200") << true << 200 << QByteArray() << 0;
    QTest::newRow("extra blanks") << QByteArray("HTTP/1.1   404 \t  Not   Found")
                                  << true << 404 << QByteArray("Not Found") << 1;
    QTest::newRow("code digit then letters") << QByteArray("HTTP/1.1 2xx Fine") << true << 0
                                             << QByteArray("Fine") << 1;
    QTest::newRow("code starts with letter") << QByteArray("HTTP/1.1 x200 OK") << false << -1
                                             << QByteArray() << -1;
    QTest::newRow("version without point") << QByteArray("HTTP/11 200 OK") << false << -1
                                           << QByteArray() << -1;
    QTest::newRow("only the version") << QByteArray("HTTP/1.1") << false << -1 << QByteArray()
                                      << -1;
    QTest::newRow("not http") << QByteArray("ICY/1.1 200 OK") << false << -1 << QByteArray()
                              << -1;
}

void TestHttpHeader::statusLine()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, valid);
    QFETCH(int, code);
    QFETCH(QByteArray, reason);
    QFETCH(int, minor);
    const QByteArray text = line + "\r\nServer: x\r\n\r\n";
    HttpResponseHeader head(text);
    QCOMPARE(head.isValid(), valid);
    QCOMPARE(head.statusCode(), code);
    QCOMPARE(head.reasonPhrase(), reason);
    QCOMPARE(head.minorVersion(), minor);
    QCOMPARE(head.toByteArray(), valid ? text : QByteArray());
    if (valid) {
        QCOMPARE(head.majorVersion(), 1);
        QVERIFY(head.contains("server"));
    }
}

void TestHttpHeader::repeatedFieldKeepsLastAtEnd()
{
    HttpResponseHeader head("HTTP/1.1 200 OK\r\nETag: \"one\"\r\nDate: today\r\n"
                            "etag: \"two\"\r\n\r\n");
    QVERIFY(head.isValid());
    const Metadata fields = head.metadata();
    QCOMPARE(fields.count(), 2);
    QCOMPARE(fields.at(1).key(), QByteArray("etag"));
    QCOMPARE(head.field("ETAG").value(), QByteArray("\"two\""));
}

void TestHttpHeader::foldingAndInvalidLines_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("fields");  // key=value;... of what stayed
    QTest::newRow("continuation joins with one blank")
        << QByteArray("HTTP/1.1 200 OK\r\nX-Long: first\r\n \t second  \r\nA: b\r\n") << true
        << 200 << QByteArray("X-Long=first second;A=b");
    QTest::newRow("bare LF and blank lines")
        << QByteArray("\n\nHTTP/1.1 201 Created\nA:  1 \n\n\nB:\n") << true << 201
        << QByteArray("A=1;B=");
    QTest::newRow("line without colon invalidates, earlier fields kept")
        << QByteArray("HTTP/1.1 200 OK\r\nA: 1\r\ngarbage\r\nB: 2\r\n") << false << 200
        << QByteArray("A=1");
    QTest::newRow("status line continued")
        << QByteArray("  HTTP/1.1 503 Slow\r\n\tDown\r\nA: 1") << true << 503
        << QByteArray("A=1");
}

void TestHttpHeader::foldingAndInvalidLines()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, valid);
    QFETCH(int, code);
    QFETCH(QByteArray, fields);
    HttpResponseHeader head(text);
    QCOMPARE(head.isValid(), valid);
    QCOMPARE(head.statusCode(), code);
    QList<QByteArray> seen;
    const Metadata m = head.metadata();
    for (int i = 0; i < m.count(); ++i)
        seen << m.at(i).key() + '=' + m.at(i).value();
    QCOMPARE(seen.join(';'), fields);
}

void TestHttpHeader::blankHeadIsValidWithoutStatus()
{
    HttpResponseHeader head(" \r\n\r\n  \n");
    QVERIFY(head.isValid());
    QVERIFY(head.metadata().isEmpty());
    QCOMPARE(head.statusCode(), -1);
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
    QTest::newRow("origin with query") << QByteArray("https://s3.localhost/b/a%20b?acl&x=1")
                                       << false << QByteArray("/b/a%20b?acl&x=1");
    QTest::newRow("empty url gets a slash") << QByteArray() << false << QByteArray("/");
    QTest::newRow("proxy absolute, no port") << QByteArray("http://s3.localhost/b/a%2Bb?x=%2F")
                                             << true
                                             << QByteArray("http://s3.localhost/b/a%2Bb?x=%2F");
    QTest::newRow("proxy keeps port") << QByteArray("http://s3.localhost:8080/k") << true
                                      << QByteArray("http://s3.localhost:8080/k");
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
    QTest::newRow("large") << QByteArray("HTTP/1.1 200 OK\r\ncontent-length: 5000000000\r\n")
                           << true << qint64(5000000000LL);
    QTest::newRow("malformed") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 12x\r\n") << true
                               << qint64(0);
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

void TestHttpHeader::metaDataKeepsOnlyUserFields()
{
    HttpResponseHeader head("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nETag: \"e\"\r\n"
                            "x-amz-meta-owner: robin\r\nContent-Encoding: gzip\r\n");
    QCOMPARE(head.metadata().count(), 4);
    const Metadata user = head.metaData();
    QCOMPARE(user.count(), 3);
    QVERIFY(!user.contains("ETag"));
    QVERIFY(head.hasContentEncoding());
    QCOMPARE(head.contentEncoding(), QByteArray("gzip"));
    QVERIFY(head.containsContentType());
}

QTEST_GUILESS_MAIN(TestHttpHeader)
#include "tst_httpheader.moc"
