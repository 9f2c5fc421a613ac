#include <QSignalSpy>
#include <QtTest>

#include "net/httpheader.h"
#include "net/timeoffset.h"
#include "operations/dummyoperation.h"
#include "operations/retrypolicy.h"
#include "shellrunner.h"
#include "testoperations.h"

// Drives the group protocol the way the scheduler does, without threads.
namespace {
void finish(AbstractOperation* op, const OpError& error = OpError())
{
    op->setState(AbstractOperation::RunningState);
    if (!error.isNull())
        op->setError(error);
    op->setState(AbstractOperation::FinishedState);
}

OpError networkError(int number)
{
    return OpError(OpError::NetworkError, QString::number(number), "network", QString());
}

OpError fileError()
{
    return OpError(OpError::FileError, QString(), "Permission denied", QString());
}

OpError serviceError(const QString& code)
{
    return OpError(OpError::ServiceError, code, "service", QString());
}

// Lets every retry's wait run out at once.
void endWaits(OperationGroup* group)
{
    for (int i = 0; i < group->operationCount(); ++i) {
        AbstractOperation* op = group->operationAt(i);
        op->setNotBefore(0);
        if (op->isGroup())
            endWaits(static_cast<OperationGroup*>(op));
    }
}

// Runs every atomic operation the root hands out through `answer` until the
// root finishes; returns how many were run.
template <typename Answer>
int runToEnd(OperationGroup* root, Answer answer)
{
    int runs = 0;
    while (!root->isFinished() && runs < 100) {
        endWaits(root);
        AbstractOperation* next = root->takeNextToExecute();
        if (!next)
            break;
        answer(next, runs++);
    }
    return runs;
}
} // namespace

class TestOperationGroup : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void emptyGroupFinishesThroughDummyAndReopens();
    void waitForPreviousBlocksUntilRowsFinished();
    void continuationSeesOnlyTheLastAttempt_data();
    void continuationSeesOnlyTheLastAttempt();
    void errorsReachEveryAncestorAndLeaveTogether();
    void clearAllOperationsKeepsFailedSubtrees();
    void errorText_data();
    void errorText();
    void concurrency_data();
    void concurrency();
    void nestedShellOperationsReportedInnermostFirst();
    void delays_data();
    void delays();
    void budgetCountsEverySend_data();
    void budgetCountsEverySend();
    void retryAfter_data();
    void retryAfter();
    void clockFromTheAnswer_data();
    void clockFromTheAnswer();
};

void TestOperationGroup::emptyGroupFinishesThroughDummyAndReopens()
{
    ListShellOperation root;
    AbstractOperation* next = root.takeNextToExecute();
    QCOMPARE(next ? next->type() : -1, int(AbstractOperation::DummyType));
    finish(next);
    QVERIFY(root.isFinished() && root.error().isNull());
    auto* late = new ProbeLocalOperation;
    root.append(late);
    QCOMPARE(root.state(), AbstractOperation::PendingState);
    QCOMPARE(root.takeNextToExecute(), late);
    finish(late);
    QVERIFY(root.isFinished());
}

void TestOperationGroup::waitForPreviousBlocksUntilRowsFinished()
{
    QList<AbstractOperation*> children;
    for (int i = 0; i < 5; ++i)
        children << new ProbeLocalOperation;
    children[3]->setWaitForPrevious(true);
    ListShellOperation root(children);

    // Rows 0-2 go out; row 3 blocks itself and row 4 behind it.
    for (int i = 0; i < 3; ++i) {
        AbstractOperation* next = root.takeNextToExecute();
        QCOMPARE(next, children[i]);
        next->setState(AbstractOperation::RunningState);
    }
    QCOMPARE(root.takeNextToExecute(), nullptr);
    children[0]->setState(AbstractOperation::FinishedState);
    // A failed row counts as finished; keep it from being retried.
    children[1]->setErrorCounter(10);
    children[1]->setError(OpError(OpError::FileError, QString(), "failed", QString()));
    children[1]->setState(AbstractOperation::FinishedState);
    QCOMPARE(root.takeNextToExecute(), nullptr);
    children[2]->setState(AbstractOperation::FinishedState);
    QCOMPARE(root.takeNextToExecute(), children[3]);
}

// Retries and redirects are clones: the parent hears once, of the attempt
// that stands, whose log carries the earlier ones; a local failure stands after
// five runs, a network one after nine, a sixth redirect is a loop. An answer is
// "disk" (a local failure), "file" (a web request that failed before sending),
// "net<n>" (network error n), "<status> <store code>", or a bare status.
void TestOperationGroup::continuationSeesOnlyTheLastAttempt_data()
{
    QTest::addColumn<QByteArrayList>("answers");
    QTest::addColumn<QString>("error");
    QTest::newRow("retried, then done") << QByteArrayList{"net1", "net1", "200"} << "";
    QTest::newRow("BadDigest retried") << QByteArrayList{"400 BadDigest", "200"} << "";
    QTest::newRow("IncompleteBody retried") << QByteArrayList{"400 IncompleteBody", "200"} << "";
    QTest::newRow("redirected, then done") << QByteArrayList{"301", "301", "200"} << "";
    QTest::newRow("redirect without Location") << QByteArrayList{"307"} << "";
    QTest::newRow("local failure stands") << QByteArrayList(5, "disk") << "Permission denied";
    QTest::newRow("network failure stands") << QByteArrayList(9, "net1") << "network";
    QTest::newRow("aborted: not retried") << QByteArrayList{"net7"} << "network";
    QTest::newRow("proxy refusal: not retried") << QByteArrayList{"net9"} << "network";
    QTest::newRow("failed before sending: not retried") << QByteArrayList{"file"} << "Permission denied";
    QTest::newRow("InvalidBucketName: not retried") << QByteArrayList{"400 InvalidBucketName"} << "service";
    QTest::newRow("AccessDenied: not retried") << QByteArrayList{"403 AccessDenied"} << "service";
    QTest::newRow("503 not SlowDown: not retried") << QByteArrayList{"503 Other"} << "service";
    QTest::newRow("redirect loop") << QByteArrayList(6, "301") << "Infinite redirect loop";
}

void TestOperationGroup::continuationSeesOnlyTheLastAttempt()
{
    QFETCH(QByteArrayList, answers);
    QFETCH(QString, error);
    ListShellOperation root;
    auto* inner = new ListShellOperation;
    root.append(inner);
    QList<AbstractOperation*> heard;
    const bool local = answers.first() == "disk";
    AbstractOperation* first = local ? static_cast<AbstractOperation*>(new ProbeLocalOperation) : new FakeWebOperation;
    first->addLog("first attempt");
    inner->appendThen(first, [&](AbstractOperation* done) { heard << done; });
    AbstractOperation* last = nullptr;
    QList<QUrl> locations;
    int secondWaited = 0;
    int secondErrors = 0;
    const int runs = runToEnd(&root, [&](AbstractOperation* next, int run) {
        last = next;
        secondWaited = run == 1 ? next->waitedMs() : secondWaited;
        secondErrors = run == 1 ? next->errorCounter() : secondErrors;
        const QByteArray answer = answers.value(run);
        if (!local)
            locations << static_cast<FakeWebOperation*>(next)->redirectLocation();
        if (answer == "disk" || answer == "file" || answer.startsWith("net")) {
            finish(next, answer.startsWith("net") ? networkError(answer.mid(3).toInt()) : fileError());
            return;
        }
        const QByteArray location = "Location: http://b.example/k" + QByteArray::number(run) + "\r\n";
        static_cast<FakeWebOperation*>(next)->setHttpResponseHeader(HttpResponseHeader(
            "HTTP/1.1 " + answer.left(3) + " X\r\n" + (answer == "301" ? location : QByteArray()) + "\r\n"));
        finish(next, answer.size() > 3 ? serviceError(QString::fromLatin1(answer.mid(4))) : OpError());
    });
    QCOMPARE(runs, int(answers.size()));
    // A redirect that goes nowhere is settled by the group itself: the parent sees only its error.
    const bool settled = QByteArray(QTest::currentDataTag()).startsWith("redirect loop")
        || QByteArray(QTest::currentDataTag()).startsWith("redirect without");
    QCOMPARE(heard, settled ? QList<AbstractOperation*>{} : QList<AbstractOperation*>{last});
    QVERIFY(root.isFinished());
    QCOMPARE(root.error().message(), error);
    QCOMPARE(inner->error().message(), error);
    QCOMPARE(root.errors().size(), error.isEmpty() ? 0 : 1);
    QVERIFY(root.log().contains("first attempt"));
    // A retry waits, and counts the failure; each redirect goes where the one before pointed.
    if (runs > 1 && !answers.first().startsWith('3')) {
        QVERIFY(secondWaited >= RetryPolicy::firstDelayMs / 2);
        QCOMPARE(secondErrors, 1);
        QVERIFY2(root.log().contains("Retry: attempt 2 of "), root.log().constData());
    }
    if (answers.first() == "301")
        QCOMPARE(locations.last(), QUrl("http://b.example/k" + QString::number(runs - 2)));
}

void TestOperationGroup::errorsReachEveryAncestorAndLeaveTogether()
{
    auto* leaf = new ProbeLocalOperation;
    auto* middle = new ListShellOperation({leaf});
    ListShellOperation root({middle});
    QCOMPARE(root.takeNextToExecute(), leaf);
    const OpError error(OpError::FileError, QString(), "broken", QString());
    leaf->setError(error);
    QCOMPARE(middle->error().errorId(), error.errorId());
    QCOMPARE(root.error().errorId(), error.errorId());
    leaf->removeError();
    QVERIFY(leaf->error().isNull());
    QVERIFY(middle->error().isNull());
    QVERIFY(root.error().isNull());
    // The shown mark is shared by every copy.
    OpError copy = error;
    copy.setShowFlag(true);
    QVERIFY(error.showFlag());
}

void TestOperationGroup::clearAllOperationsKeepsFailedSubtrees()
{
    auto* good = new ProbeLocalOperation;
    good->addLog("good log");
    ListShellOperation clean({good});
    runToEnd(&clean, [](AbstractOperation* next, int) { finish(next); });
    clean.clearAllOperations();
    QCOMPARE(clean.operationCount(), 0);
    QVERIFY(clean.log().contains("good log"));

    ListShellOperation failed({new ProbeLocalOperation});
    runToEnd(&failed, [](AbstractOperation* next, int) {
        finish(next, OpError(OpError::FileError, QString(), "x", QString()));
    });
    QVERIFY(failed.isFinished());
    const int before = failed.operationCount();
    failed.clearAllOperations();
    QCOMPARE(failed.operationCount(), before);
}

void TestOperationGroup::errorText_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<bool>("withDetail");
    QTest::addColumn<QString>("expected");
    QTest::newRow("short, no code") << "" << false << "%1 left";
    QTest::newRow("short, code") << "%2" << false << "%2: %1 left";
    // The detailed forms swap their fields; callers rely on these shapes.
    QTest::newRow("detail, code") << "%2" << true << "%1 left: more";
    QTest::newRow("detail, no code") << "" << true << ": %1 left\nmore";
}

void TestOperationGroup::errorText()
{
    QFETCH(QString, code);
    QFETCH(bool, withDetail);
    QFETCH(QString, expected);
    QCOMPARE(OpError(OpError::ServiceError, code, "%1 left", "more").toString(withDetail), expected);
}

// The scheduler with real handler threads and the event loop.

void TestOperationGroup::concurrency_data()
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

void TestOperationGroup::concurrency()
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

void TestOperationGroup::nestedShellOperationsReportedInnermostFirst()
{
    auto* inner = new ListShellOperation({new ProbeLocalOperation});
    auto* middle = new ListShellOperation({inner});
    ListShellOperation root({middle});
    QList<AbstractShellOperation*> finished;
    QVERIFY(runShell(&root, 2, &finished));
    QCOMPARE(finished, (QList<AbstractShellOperation*>{inner, middle, &root}));
}

void TestOperationGroup::delays_data()
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

void TestOperationGroup::delays()
{
    QFETCH(int, failures);
    QFETCH(int, waited);
    QFETCH(int, hint);
    QFETCH(bool, slowDown);
    QFETCH(double, jitter);
    QFETCH(int, expected);
    QCOMPARE(RetryPolicy::delayMs(failures, waited, hint, slowDown, jitter), expected);
}

void TestOperationGroup::budgetCountsEverySend_data()
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

void TestOperationGroup::budgetCountsEverySend()
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

void TestOperationGroup::retryAfter_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<int>("expected");

    QTest::newRow("far off") << QByteArray("HTTP/1.1 503 Slow Down\r\nRetry-After: 86400\r\n\r\n") << 30000;
    QTest::newRow("negative") << QByteArray("HTTP/1.1 503 Slow Down\r\nRetry-After: -5\r\n\r\n") << 0;
    QTest::newRow("date in the past") << QByteArray("HTTP/1.1 503 Slow Down\r\nRetry-After: Sun, 06 Nov 1994 08:49:37 GMT\r\n\r\n") << 0;
    QTest::newRow("garbage") << QByteArray("HTTP/1.1 503 Slow Down\r\nRetry-After: soon\r\n\r\n") << 0;
}

void TestOperationGroup::retryAfter()
{
    QFETCH(QByteArray, head);
    QFETCH(int, expected);
    QCOMPARE(RetryPolicy::retryAfterMs(HttpResponseHeader(head)), expected);
}

void TestOperationGroup::clockFromTheAnswer_data()
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

void TestOperationGroup::clockFromTheAnswer()
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

QTEST_GUILESS_MAIN(TestOperationGroup)
#include "tst_operationgroup.moc"
