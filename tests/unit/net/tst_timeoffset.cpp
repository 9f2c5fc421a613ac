#include <climits>
#include <ctime>
#include <thread>

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "net/timeoffset.h"

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

class TestTimeOffset : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void fromHttpDateForms_data();
    void fromHttpDateForms();
    void averageTruncates_data();
    void averageTruncates();
    void unreachableReferenceGivesZero();
};

void TestTimeOffset::initTestCase()
{
    // A local zone away from UTC, so that a date read as local time would show.
    qputenv("TZ", "XYZ-3");
    tzset();
}

void TestTimeOffset::cleanup()
{
    qunsetenv("QUORLE_TIME_REFERENCE");
}

void TestTimeOffset::fromHttpDateForms_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::newRow("RFC 1123") << "Sun, 06 Nov 1994 08:49:37 GMT" << true;
    QTest::newRow("asctime") << "Sun Nov  6 08:49:37 1994" << true;
    QTest::newRow("not a date") << "yesterday, around noon" << false;
    QTest::newRow("day out of range") << "Sun, 32 Nov 1994 08:49:37 GMT" << false;
}

void TestTimeOffset::fromHttpDateForms()
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

void TestTimeOffset::averageTruncates_data()
{
    QTest::addColumn<QList<int>>("offsets");
    QTest::addColumn<int>("expected");
    QTest::newRow("+10 +10 failed") << QList<int>{ 10, 10, global_noDate } << 6;
    QTest::newRow("-1 -1 failed: towards zero") << QList<int>{ -1, -1, global_noDate } << 0;
    QTest::newRow("no dates at all") << QList<int>{ global_noDate, global_noDate, global_noDate } << 0;
}

void TestTimeOffset::averageTruncates()
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

void TestTimeOffset::unreachableReferenceGivesZero()
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

QTEST_GUILESS_MAIN(TestTimeOffset)
#include "tst_timeoffset.moc"
