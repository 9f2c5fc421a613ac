#include <climits>
#include <ctime>

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "net/timeoffset.h"

namespace {

const int global_noDate = INT_MIN;

// Answers HEAD requests on its own thread (the measurement blocks the caller), each
// with a "Date" that is the given number of seconds off the local clock. The answer
// waits for the early part of a second, so that the measured offset, truncated to
// whole seconds, comes out exactly as asked.
class ReferenceServer
{
public:
    explicit ReferenceServer(const QList<int>& offsets) : m_offsets(offsets)
    {
        m_thread.reset(QThread::create([this] { serve(); }));
        m_thread->start();
        // A port of 0 after this makes the test fail on its first check.
        (void)QTest::qWaitFor([this] { return m_port.loadAcquire() != 0; }, 5000);
    }
    ~ReferenceServer()
    {
        m_thread->quit();
        m_thread->wait(10000);
    }

    quint16 port() const { return quint16(m_port.loadAcquire()); }
    QList<QByteArray> requestLines() const
    {
        QMutexLocker locker(&m_mutex);
        return m_requestLines;
    }

private:
    static QByteArray httpDate(qint64 secs)
    {
        return QLocale::c()
            .toString(QDateTime::fromSecsSinceEpoch(secs, Qt::UTC), "ddd, dd MMM yyyy hh:mm:ss")
            .toLatin1()
            + " GMT";
    }

    void answer(QTcpSocket* socket, int offset)
    {
        QByteArray head = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n";
        if (offset != global_noDate) {
            const qint64 nowMs = QDateTime::currentMSecsSinceEpoch();
            const qint64 second = nowMs / 1000;
            // The remote clock is read with whole seconds only; rounding so, the
            // local reading comes 0.2 to 0.5 s after the stated second.
            head += "Date: " + httpDate(second + (offset >= 0 ? offset + 1 : offset)) + "\r\n";
        }
        socket->write(head + "\r\n");
        socket->disconnectFromHost();
    }

    void serve()
    {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server, &QTcpServer::newConnection, [&] {
            QTcpSocket* socket = server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                socket->setProperty("in", socket->property("in").toByteArray() + socket->readAll());
                const QByteArray in = socket->property("in").toByteArray();
                if (!in.contains("\r\n\r\n") || socket->property("done").toBool())
                    return;
                socket->setProperty("done", true);
                int offset = global_noDate;
                {
                    QMutexLocker locker(&m_mutex);
                    m_requestLines.append(in.left(in.indexOf("\r\n")));
                    offset = m_offsets.value(m_requestLines.size() - 1, global_noDate);
                }
                const int ms = int(QDateTime::currentMSecsSinceEpoch() % 1000);
                const int wait = ms < 200 ? 200 - ms : (ms > 500 ? 1200 - ms : 0);
                QTimer::singleShot(wait, socket, [this, socket, offset] { answer(socket, offset); });
            });
        });
        m_port.storeRelease(server.serverPort());
        QEventLoop().exec();  // until quit()
    }

    QList<int> m_offsets;
    std::unique_ptr<QThread> m_thread;
    QAtomicInt m_port = 0;
    mutable QMutex m_mutex;
    QList<QByteArray> m_requestLines;
};

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
    void referenceFromEnvironment_data();
    void referenceFromEnvironment();
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
    QTest::newRow("no dates at all") << QList<int>{ global_noDate, global_noDate, global_noDate }
                                     << 0;
}

void TestTimeOffset::averageTruncates()
{
    QFETCH(QList<int>, offsets);
    QFETCH(int, expected);
    ReferenceServer server(offsets);
    QVERIFY(server.port() != 0);
    qputenv("QUORLE_TIME_REFERENCE", "127.0.0.1:" + QByteArray::number(server.port()));
    QCOMPARE(TimeOffset::computeTimeOffset(), expected);
    const QList<QByteArray> lines = server.requestLines();
    QCOMPARE(lines.size(), 3);
    for (const QByteArray& line : lines)
        QCOMPARE(line, QByteArray("HEAD / HTTP/1.1"));
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
    TimeOffset one;
    one.execute();
    QCOMPARE(one.timeOffset(), 0);
    QCOMPARE(TimeOffset::computeTimeOffset(), 0);
}

void TestTimeOffset::referenceFromEnvironment_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::newRow("unset: the store's web server") << QByteArray() << "s3.amazonaws.com" << 80;
    QTest::newRow("host and port") << QByteArray("127.0.0.1:8123") << "127.0.0.1" << 8123;
}

void TestTimeOffset::referenceFromEnvironment()
{
    QFETCH(QByteArray, value);
    QFETCH(QString, host);
    QFETCH(int, port);
    if (!value.isEmpty())
        qputenv("QUORLE_TIME_REFERENCE", value);
    QCOMPARE(TimeOffsetThread::referenceHost(), host);
    QCOMPARE(TimeOffsetThread::referencePort(), port);
}

QTEST_GUILESS_MAIN(TestTimeOffset)
#include "tst_timeoffset.moc"
