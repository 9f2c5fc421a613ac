#include <QtTest>

#include "net/httpheader.h"
#include "net/timeoffset.h"
#include "operations/retrypolicy.h"
#include "testoperations.h"

class TestRetryPolicy : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void delays_data();
    void delays();
    void budgetCountsEverySend_data();
    void budgetCountsEverySend();
    void retryAfter_data();
    void retryAfter();
    void clockFromTheAnswer_data();
    void clockFromTheAnswer();
};

void TestRetryPolicy::delays_data()
{
    QTest::addColumn<int>("failures");
    QTest::addColumn<int>("waited");
    QTest::addColumn<int>("hint");
    QTest::addColumn<bool>("slowDown");
    QTest::addColumn<double>("jitter");
    QTest::addColumn<int>("expected");

    QTest::newRow("first, most jitter") << 1 << 0 << 0 << false << 1.0 << 250;
    QTest::newRow("doubles") << 4 << 0 << 0 << false << 0.0 << 4000;
    QTest::newRow("capped") << 8 << 0 << 0 << false << 0.0 << 15000;
    QTest::newRow("slow down doubles") << 2 << 0 << 0 << true << 0.0 << 2000;
    QTest::newRow("Retry-After is a floor") << 1 << 0 << 7000 << false << 0.0 << 7000;
    QTest::newRow("Retry-After has a ceiling") << 1 << 0 << 3600000 << false << 0.0 << 30000;
    QTest::newRow("total budget") << 8 << 85000 << 0 << false << 0.0 << 5000;
    QTest::newRow("budget spent") << 8 << 95000 << 20000 << false << 0.0 << 0;
}

void TestRetryPolicy::delays()
{
    QFETCH(int, failures);
    QFETCH(int, waited);
    QFETCH(int, hint);
    QFETCH(bool, slowDown);
    QFETCH(double, jitter);
    QFETCH(int, expected);
    QCOMPARE(RetryPolicy::delayMs(failures, waited, hint, slowDown, jitter), expected);
}

void TestRetryPolicy::budgetCountsEverySend_data()
{
    QTest::addColumn<bool>("web");
    QTest::addColumn<int>("errorCounter");
    QTest::addColumn<int>("sends");
    QTest::addColumn<bool>("allowed");
    QTest::addColumn<int>("resends");

    QTest::newRow("web, first failure") << true << 0 << 1 << true << 7;
    QTest::newRow("web, ninth send done") << true << 3 << 9 << false << 0;
    QTest::newRow("web, declared spent") << true << 8 << 1 << false << 0;
    QTest::newRow("local, fourth run") << false << 3 << 0 << true << 5;
    QTest::newRow("local, fifth run") << false << 4 << 0 << false << 4;
}

void TestRetryPolicy::budgetCountsEverySend()
{
    QFETCH(bool, web);
    QFETCH(int, errorCounter);
    QFETCH(int, sends);
    QFETCH(bool, allowed);
    QFETCH(int, resends);
    QScopedPointer<AbstractOperation> op(web ? static_cast<AbstractOperation*>(new FakeWebOperation)
                                             : new ProbeLocalOperation);
    op->setErrorCounter(errorCounter);
    op->setSendCount(sends);
    QCOMPARE(RetryPolicy::allowsAnother(op.data()), allowed);
    if (web)
        QCOMPARE(RetryPolicy::clientResendsLeft(op.data()), resends);
}

void TestRetryPolicy::retryAfter_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<int>("expected");

    QTest::newRow("far off") << QByteArray("HTTP/1.1 503 Slow Down\r\nRetry-After: 86400\r\n\r\n") << 30000;
    QTest::newRow("negative") << QByteArray("HTTP/1.1 503 Slow Down\r\nRetry-After: -5\r\n\r\n") << 0;
    QTest::newRow("date in the past") << QByteArray("HTTP/1.1 503 Slow Down\r\nRetry-After: Sun, 06 Nov 1994 08:49:37 GMT\r\n\r\n") << 0;
    QTest::newRow("garbage") << QByteArray("HTTP/1.1 503 Slow Down\r\nRetry-After: soon\r\n\r\n") << 0;
}

void TestRetryPolicy::retryAfter()
{
    QFETCH(QByteArray, head);
    QFETCH(int, expected);
    QCOMPARE(RetryPolicy::retryAfterMs(HttpResponseHeader(head)), expected);
}

void TestRetryPolicy::clockFromTheAnswer_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QByteArray>("date");
    QTest::addColumn<bool>("found");
    QTest::addColumn<int>("expected");

    const QDateTime ahead = QDateTime::currentDateTimeUtc().addSecs(3600);
    const QByteArray serverTime = ahead.toString(Qt::ISODateWithMs).toLatin1();
    const QByteArray httpDate = QLocale::c().toString(ahead.addSecs(-7200), "ddd, dd MMM yyyy hh:mm:ss 'GMT'").toLatin1();
    const QByteArray skewed = "<Error><Code>RequestTimeTooSkewed</Code><ServerTime>" + serverTime + "</ServerTime></Error>";
    QTest::newRow("server time first") << skewed << httpDate << true << 3600;
    QTest::newRow("date when no server time") << QByteArray("<Error/>") << httpDate << true << -3600;
    QTest::newRow("unreadable server time") << QByteArray("<ServerTime>late</ServerTime>") << httpDate << true << -3600;
    QTest::newRow("nothing usable") << QByteArray("<ServerTime></ServerTime>") << QByteArray("never") << false << 0;
}

void TestRetryPolicy::clockFromTheAnswer()
{
    QFETCH(QByteArray, document);
    QFETCH(QByteArray, date);
    QFETCH(bool, found);
    QFETCH(int, expected);
    int offset = 0;
    QCOMPARE(TimeOffset::offsetFromAnswer(document, date, &offset), found);
    if (found)
        QVERIFY2(qAbs(offset - expected) <= 2, qPrintable(QString::number(offset)));
}

QTEST_GUILESS_MAIN(TestRetryPolicy)
#include "tst_retrypolicy.moc"
