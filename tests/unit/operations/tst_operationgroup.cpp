#include <QtTest>

#include "operations/dummyoperation.h"
#include "operations/retrypolicy.h"
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
    void webRetryDecision_data();
    void webRetryDecision();
    void continuationSeesOnlyTheLastAttempt_data();
    void continuationSeesOnlyTheLastAttempt();
    void errorsReachEveryAncestorAndLeaveTogether();
    void clearAllOperationsKeepsFailedSubtrees();
    void errorText_data();
    void errorText();
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

void TestOperationGroup::webRetryDecision_data()
{
    QTest::addColumn<OpError>("error");
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<bool>("retried");

    const QByteArray none;
    QTest::newRow("network error 1") << networkError(1) << none << true;
    QTest::newRow("network error 7") << networkError(7) << none << false;
    QTest::newRow("network error 9") << networkError(9) << none << false;
    QTest::newRow("failed before sending") << fileError() << none << false;
    QTest::newRow("400 BadDigest") << serviceError("BadDigest") << QByteArray("HTTP/1.1 400 Bad") << true;
    QTest::newRow("400 IncompleteBody") << serviceError("IncompleteBody") << QByteArray("HTTP/1.1 400 Bad") << true;
    QTest::newRow("400 InvalidBucketName") << serviceError("InvalidBucketName") << QByteArray("HTTP/1.1 400 Bad") << false;
    QTest::newRow("403 AccessDenied") << serviceError("AccessDenied") << QByteArray("HTTP/1.1 403 Forbidden") << false;
    QTest::newRow("503 other") << serviceError("Other") << QByteArray("HTTP/1.1 503 Busy") << false;
}

void TestOperationGroup::webRetryDecision()
{
    QFETCH(OpError, error);
    QFETCH(QByteArray, head);
    QFETCH(bool, retried);

    auto* op = new FakeWebOperation;
    ListShellOperation root({op});
    QCOMPARE(root.takeNextToExecute(), op);
    if (!head.isNull())
        op->setHttpResponseHeader(HttpResponseHeader(head + "\r\n\r\n"));
    finish(op, error);

    QCOMPARE(!root.isFinished(), retried);
    if (retried) {
        // The replacement waits its turn without holding anything up.
        QCOMPARE(root.takeNextToExecute(), nullptr);
        endWaits(&root);
        AbstractOperation* clone = root.takeNextToExecute();
        QVERIFY(clone && clone != op);
        QCOMPARE(clone->errorCounter(), 1);
        QVERIFY(clone->waitedMs() >= RetryPolicy::firstDelayMs / 2);
        QVERIFY2(clone->log().contains("Retry: attempt 2 of 9 in "), clone->log().constData());
        QVERIFY(root.error().isNull());
    } else {
        QCOMPARE(root.error().isNull(), error.isNull());
    }
}

// Retries and redirects are clones: the parent hears once, of the attempt
// that stands, whose log carries the earlier ones; a local failure stands after
// five runs, a network one after nine, a sixth redirect is a loop.
void TestOperationGroup::continuationSeesOnlyTheLastAttempt_data()
{
    QTest::addColumn<QByteArrayList>("answers");
    QTest::addColumn<QString>("error");
    QTest::newRow("retried, then done") << QByteArrayList{"net", "net", "200"} << "";
    QTest::newRow("redirected, then done") << QByteArrayList{"301", "301", "200"} << "";
    QTest::newRow("redirect without Location") << QByteArrayList{"307"} << "";
    QTest::newRow("local failure stands") << QByteArrayList(5, "disk") << "Permission denied";
    QTest::newRow("network failure stands") << QByteArrayList(9, "net") << "network";
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
    AbstractOperation* first = local ? static_cast<AbstractOperation*>(new ProbeLocalOperation)
                                     : new FakeWebOperation;
    first->addLog("first attempt");
    inner->appendThen(first, [&](AbstractOperation* done) { heard << done; });
    AbstractOperation* last = nullptr;
    QList<QUrl> locations;
    const int runs = runToEnd(&root, [&](AbstractOperation* next, int run) {
        last = next;
        const QByteArray answer = answers.value(run);
        if (!local)
            locations << static_cast<FakeWebOperation*>(next)->redirectLocation();
        if (answer == "disk" || answer == "net") {
            finish(next, answer == "disk" ? fileError() : networkError(1));
            return;
        }
        const QByteArray location = "Location: http://b.example/k" + QByteArray::number(run) + "\r\n";
        static_cast<FakeWebOperation*>(next)->setHttpResponseHeader(HttpResponseHeader(
            answer == "301" ? "HTTP/1.1 301 Moved\r\n" + location + "\r\n" : "HTTP/1.1 " + answer + " X\r\n\r\n"));
        finish(next);
    });
    QCOMPARE(runs, int(answers.size()));
    QEXPECT_FAIL("redirect without Location", "a redirect that goes nowhere skips the continuation", Continue);
    QEXPECT_FAIL("redirect loop", "a redirect that goes nowhere skips the continuation", Continue);
    QCOMPARE(heard, QList<AbstractOperation*>{last});
    QVERIFY(root.isFinished());
    QCOMPARE(root.error().message(), error);
    QCOMPARE(inner->error().message(), error);
    QCOMPARE(root.errors().size(), error.isEmpty() ? 0 : 1);
    QVERIFY(root.log().contains("first attempt"));
    // Each redirect goes where the one before pointed.
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

QTEST_GUILESS_MAIN(TestOperationGroup)
#include "tst_operationgroup.moc"
