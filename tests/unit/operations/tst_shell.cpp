#include <QSignalSpy>
#include <QtTest>

#include "shellrunner.h"
#include "testoperations.h"

// The scheduler with real handler threads and the event loop.
class TestShell : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void concurrency_data();
    void concurrency();
    void nestedShellOperationsReportedInnermostFirst();
};

void TestShell::concurrency_data()
{
    QTest::addColumn<int>("operations");
    QTest::addColumn<int>("threads");
    QTest::addColumn<QList<int>>("waitingRows");
    QTest::addColumn<int>("maxInFlight");
    QTest::newRow("as many at once as threads") << 12 << 3 << QList<int>{} << 3;
    // Row 1 waits for row 0 and holds back row 2 until then; 1 and 2 then overlap.
    QTest::newRow("barrier at row 1") << 3 << 4 << QList<int>{1} << 2;
    QTest::newRow("barriers at rows 1 and 2") << 3 << 4 << QList<int>{1, 2} << 1;
}

void TestShell::concurrency()
{
    QFETCH(int, operations);
    QFETCH(int, threads);
    QFETCH(QList<int>, waitingRows);
    QFETCH(int, maxInFlight);
    HandlerProbe probe;
    probe.sleepMs = 40;
    QList<AbstractOperation*> children;
    for (int i = 0; i < operations; ++i) {
        children << new ProbeLocalOperation(&probe);
        children.last()->setWaitForPrevious(waitingRows.contains(i));
    }
    ListShellOperation root(children);
    QVERIFY(runShell(&root, threads));
    QCOMPARE(probe.runs, operations);
    QCOMPARE(probe.maxInFlight, maxInFlight);
    QVERIFY(probe.threads.size() <= threads && !probe.threads.contains(QThread::currentThread()));
}

void TestShell::nestedShellOperationsReportedInnermostFirst()
{
    auto* inner = new ListShellOperation({new ProbeLocalOperation});
    auto* middle = new ListShellOperation({inner});
    ListShellOperation root({middle});
    QList<AbstractShellOperation*> finished;
    QVERIFY(runShell(&root, 2, &finished));
    QCOMPARE(finished, (QList<AbstractShellOperation*>{inner, middle, &root}));
}

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"
