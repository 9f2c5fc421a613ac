#include <QSignalSpy>
#include <QtTest>

#include "fakestore.h"
#include "items/abstractbucket.h"
#include "items/abstractcloudfile.h"
#include "items/driver.h"
#include "net/httpclient.h"
#include "operations/operationhandler.h"
#include "shellrunner.h"
#include "testoperations.h"
#include "testweboperations.h"

// The web path of the handler: signed requests through a real Shell and its
// handler threads against loopback servers that play a store.
class TestWebHandler : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void signedRequestAndItsLog();
    void connectionFollowsHost_data();
    void connectionFollowsHost();
    void ignoredOperationAbortsBeforeTheBody();
};

namespace {

const QByteArray global_secretKey = "wJalrXUtnFEMI/K7MDENG/bPxRfiCYEXAMPLEKEY";

QSharedPointer<AbstractCloudFile> loopbackFile(int port, const QString& key)
{
    return Driver::createFile(key, 0, QDateTime(), QByteArray(), loopbackBucket(port), true, QByteArray(),
                              QSharedPointer<AbstractUser>(), StorageDirective::StandardStorage);
}

// Runs op alone on a handler of the calling thread, as a shell's child.
struct DirectRun
{
    explicit DirectRun(AbstractOperation* op) : root({op}) { root.takeNextToExecute(); }

    bool run(AbstractOperation* op)
    {
        QSignalSpy finished(&handler, &OperationHandler::operationFinished);
        handler.execute(op);
        return finished.wait(10000);
    }

    ListShellOperation root;
    OperationHandler handler;
};

} // namespace

void TestWebHandler::initTestCase()
{
    // A skewed clock makes the retry policy measure the time: never against
    // a real server from here.
    qputenv("QUORLE_TIME_REFERENCE", "127.0.0.1:1");
    // Nine attempts with the real waits would take a minute.
    qputenv("QUORLE_RETRY_DELAY_SCALE", "0.01");
}

void TestWebHandler::signedRequestAndItsLog()
{
    FakeStore store({httpAnswer(200, "OK", "<Result><Ok>yes</Ok></Result>", "Content-Type: application/xml\r\n")});
    auto* op = new TestObjectOperation(nullptr, loopbackFile(store.port(), QStringLiteral("notes/a b.xml")),
                                       HttpRequestHeader::PutMethod);
    Metadata fields;
    fields.append(HttpField("x-amz-meta-colour", "blue"));
    fields.append(HttpField("Content-Type", "text/xml"));
    op->setFields(fields);
    op->setRequestData("<Note><To>you</To></Note>");
    ListShellOperation root({op});
    QVERIFY(runShell(&root, 1, nullptr, true));
    QVERIFY(root.error().isNull());

    QCOMPARE(store.bodies, QList<QByteArray>{"<Note><To>you</To></Note>"});

    const QByteArray log = root.log();
    const QList<QByteArray> inOrder = {
        "*** Operation: Test object ***", "\nRequest description\n===================\n",
        "PUT\\n\n\\n\ntext/xml\\n\n", "x-amz-meta-colour:blue\\n\n/johnsmith/notes/a%20b.xml\n",
        "> PUT /johnsmith/notes/a%20b.xml HTTP/1.1\n> Host: 127.0.0.1\n> Date: ",
        "\nRequest body\n============\n<Note>\n <To>you</To>\n</Note>\n", "< HTTP/1.1 200 OK\n",
        "\nResponse body\n=============\n<Result>\n <Ok>yes</Ok>\n</Result>\n"};
    qsizetype from = 0;
    for (const QByteArray& part : inOrder) {
        const qsizetype at = log.indexOf(part, from);
        QVERIFY2(at >= 0, (part + "\nnot found in order in\n" + log).constData());
        from = at + part.size();
    }
    QVERIFY(!log.contains(global_secretKey));
}

void TestWebHandler::connectionFollowsHost_data()
{
    QTest::addColumn<QString>("stores");
    QTest::addColumn<QList<int>>("connections");
    QTest::newRow("one host") << "AAA" << QList<int>{1, 0};
    QTest::newRow("back and forth") << "AABA" << QList<int>{2, 1};
}

void TestWebHandler::connectionFollowsHost()
{
    QFETCH(QString, stores);
    QFETCH(QList<int>, connections);
    FakeStore first, second;
    QList<AbstractOperation*> ops;
    for (const QChar store : stores) {
        const int port = store == QLatin1Char('A') ? first.port() : second.port();
        ops << new TestObjectOperation(nullptr, loopbackFile(port, QStringLiteral("k")));
        // One after the other, so that the order of hosts is the one written.
        ops.last()->setWaitForPrevious(true);
    }
    ListShellOperation root(ops);
    QVERIFY(runShell(&root, 1));
    QVERIFY(root.error().isNull());
    QCOMPARE(first.heads.size() + second.heads.size(), int(stores.size()));
    QCOMPARE((QList<int>{first.connections(), second.connections()}), connections);
}

void TestWebHandler::ignoredOperationAbortsBeforeTheBody()
{
    AbstractOperation* target = nullptr;
    // The operation is called off once its request is sent: its answer's head
    // comes 100 ms later, the body another 300 ms after that.
    ScriptedServer server([&](QTcpSocket* socket, QByteArray& in) {
        if (!ScriptedServer::takeRequest(in))
            return;
        target->setIgnoreFlag(true);
        ScriptedServer::writeSlowly(socket, {"HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\n"}, 100);
        QTimer::singleShot(400, socket, [socket] { socket->write("body"); });
    });
    auto* op = new TestObjectOperation(nullptr, loopbackFile(server.port(), QStringLiteral("k")));
    target = op;
    DirectRun direct(op);
    QVERIFY(direct.run(op));
    QCOMPARE(op->httpResponseHeader().statusCode(), 200);
    QCOMPARE(op->error().type(), OpError::NetworkError);
    QCOMPARE(op->error().code(), QString::number(int(HttpClient::Aborted)));
    QVERIFY(op->responseData().isEmpty());
}

QTEST_GUILESS_MAIN(TestWebHandler)
#include "tst_webhandler.moc"
