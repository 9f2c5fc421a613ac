#include <QSignalSpy>
#include <QtTest>

#include "shellrunner.h"
#include "testoperations.h"

// The scheduler with real handler threads and the event loop.
class TestShell : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void concurrencyFollowsThreadCount_data();
    void concurrencyFollowsThreadCount();
    void emptyRootFinishesWithoutHandlerWork();
    void barrierReleasedByFinishingSibling_data();
    void barrierReleasedByFinishingSibling();
    void nestedShellOperationsReportedInnermostFirst();
};

void TestShell::concurrencyFollowsThreadCount_data()
{
    QTest::addColumn<int>("threads");
    QTest::addColumn<int>("maxThreadsSeen");
    QTest::newRow("three threads") << 3 << 3;
}

void TestShell::concurrencyFollowsThreadCount()
{
    QFETCH(int, threads);
    QFETCH(int, maxThreadsSeen);
    HandlerProbe probe;
    probe.sleepMs = 30;
    QList<AbstractOperation*> children;
    for (int i = 0; i < 12; ++i)
        children << new ProbeLocalOperation(&probe);
    ListShellOperation root(children);
    QVERIFY(runShell(&root, threads));
    QCOMPARE(probe.runs.loadAcquire(), 12);
    QCOMPARE(probe.maxInFlight.loadAcquire(), maxThreadsSeen);
    QCOMPARE(probe.threads.size(), maxThreadsSeen);
    QVERIFY(!probe.threads.contains(QThread::currentThread()));
}

void TestShell::emptyRootFinishesWithoutHandlerWork()
{
    HandlerProbe probe;
    ListShellOperation root;
    QVERIFY(runShell(&root, 2));
    QVERIFY(root.isFinished());
    QCOMPARE(probe.runs.loadAcquire(), 0);
}

void TestShell::barrierReleasedByFinishingSibling_data()
{
    QTest::addColumn<QList<int>>("waitingRows");
    QTest::addColumn<int>("maxInFlight");
    // Row 1 waits for row 0 and holds back row 2 until then; 1 and 2 then overlap.
    QTest::newRow("barrier at row 1") << QList<int>{1} << 2;
    QTest::newRow("barriers at rows 1 and 2") << QList<int>{1, 2} << 1;
}

void TestShell::barrierReleasedByFinishingSibling()
{
    QFETCH(QList<int>, waitingRows);
    QFETCH(int, maxInFlight);
    HandlerProbe probe;
    probe.sleepMs = 40;
    QList<AbstractOperation*> children;
    for (int i = 0; i < 3; ++i) {
        children << new ProbeLocalOperation(&probe);
        children.last()->setWaitForPrevious(waitingRows.contains(i));
    }
    ListShellOperation root(children);
    QVERIFY(runShell(&root, 4));
    QCOMPARE(probe.runs.loadAcquire(), 3);
    QCOMPARE(probe.maxInFlight.loadAcquire(), maxInFlight);
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
