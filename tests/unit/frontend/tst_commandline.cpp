#include <QtTest>

// The command line as a user meets it: the real binary, its streams and exit codes.
class TestCommandLine : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void rejectedArguments_data();
    void rejectedArguments();

private:
    QString m_existing;
    QTemporaryDir m_dir;
};

void TestCommandLine::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_existing = m_dir.path();
}

namespace {
const QByteArray helpStart = "\nquorle [options] source destination\n\nOPTIONS :\n";

enum Stream { Out, Err };

struct ToolRun
{
    int exitCode;
    QByteArray out;
    QByteArray err;
};

// Runs the real binary ($QUORLE_BINARY), with no proxy and with keys only when asked.
ToolRun runTool(const QStringList& args, bool withKeys)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"QUORLES_ACCESS_KEY", "QUORLES_SECRET_KEY", "QUORLES_ENCRYPTION_PASSWORD", "http_proxy",
                             "https_proxy", "no_proxy", "HTTP_PROXY", "HTTPS_PROXY", "NO_PROXY"})
        env.remove(name);
    if (withKeys) {
        env.insert("QUORLES_ACCESS_KEY", "AKTEST");
        env.insert("QUORLES_SECRET_KEY", "SKTEST");
    }
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(qEnvironmentVariable("QUORLE_BINARY"), args);
    const bool finished = process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit;
    if (!finished) {
        process.kill();
        process.waitForFinished();
    }
    return {finished ? process.exitCode() : -1, process.readAllStandardOutput(), process.readAllStandardError()};
}
} // namespace

void TestCommandLine::rejectedArguments_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<bool>("withKeys");
    QTest::addColumn<int>("stream");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<bool>("helpFollows");

    // Common options: the message alone, on standard error.
    QTest::newRow("threads zero") << QStringList{"-t", "0", "a", "b"} << true << int(Err) << QByteArray("\nInvalid argument -t 0") << false;
    QTest::newRow("threads too many") << QStringList{"-t", "32769", "a", "b"} << true << int(Err) << QByteArray("\nInvalid argument -t 32769") << false;
    QTest::newRow("threshold above 5G") << QStringList{"a", "b", "--multipart-threshold", "6G"} << true << int(Err) << QByteArray("\nInvalid argument --multipart-threshold 6G : a size from 5M to 5G is expected, such as 64M or 1G") << false;
    QTest::newRow("threshold at end") << QStringList{"a", "b", "--multipart-threshold"} << true << int(Err) << QByteArray("\nInvalid argument --multipart-threshold  : a size from 5M to 5G is expected, such as 64M or 1G") << false;
    QTest::newRow("port zero") << QStringList{"--port", "0", "a", "b"} << true << int(Err) << QByteArray("\nInvalid port") << false;
    QTest::newRow("port too high") << QStringList{"--port", "65536", "a", "b"} << true << int(Err) << QByteArray("\nInvalid port") << false;
    QTest::newRow("encrypt at end") << QStringList{"a", "b", "-e"} << true << int(Err) << QByteArray("\nInvalid arguments") << false;
    QTest::newRow("unknown cipher") << QStringList{"-e", "foo", "a", "b"} << true << int(Err) << QByteArray("\nInvalid argument foo ") << false;
    QTest::newRow("cipher without password") << QStringList{"-e", "aes-256-cbc", "--decryption-password", "p", "a", "b"} << true << int(Err) << QByteArray("\nInvalid or missing encryption password") << false;
    QTest::newRow("signature version 3") << QStringList{"--signature-version", "3", "a", "b"} << true << int(Err) << QByteArray("\nInvalid signature version '3': use 2 or 4") << false;
    QTest::newRow("region empty") << QStringList{"--region", "", "a", "b"} << true << int(Err) << QByteArray("\nInvalid region '': a region is a name such as eu-west-1") << false;
    QTest::newRow("region climbing") << QStringList{"a", "b", "--region", "../eu west"} << true << int(Err) << QByteArray("\nInvalid region '../eu west': a region is a name such as eu-west-1") << false;
    QTest::newRow("region at end") << QStringList{"a", "b", "--region"} << true << int(Err) << QByteArray("\nMissing value for --region") << false;
    QTest::newRow("version after bad threads") << QStringList{"-t", "0", "--version"} << true << int(Err) << QByteArray("\nInvalid argument -t 0") << false;
    // Keys are asked for as soon as one side is a store, or when the line does not name two paths.
    QTest::newRow("no access key, one path") << QStringList{"a"} << false << int(Err) << QByteArray("\nMissing Access Key !") << false;
    QTest::newRow("no secret key, store path") << QStringList{"-A", "k", "a", "s3://b/"} << false << int(Err) << QByteArray("\nMissing Secret Key !") << false;
    QTest::newRow("key complaint before unknown option") << QStringList{"--symbolic-links", "a", "s3://b/"} << false << int(Err) << QByteArray("\nMissing Access Key !") << false;
    // Two local folders need no keys: the next fault is the one reported.
    QTest::newRow("no keys, local pair, unknown option") << QStringList{"--symbolic-links", "a", "b"} << false << int(Out) << QByteArray("\nInvalid arguments : --symbolic-links") << true;
    QTest::newRow("no keys, store-like filter value") << QStringList{"--include-cs-filename", "s3://x/", "a", "b"} << false << int(Err) << QByteArray("\n** Error **\nOperation: quorle\nMessage: Folder 'a' not found\nFailed: 1\nquorle: Folder 'a' not found") << false;
    QTest::newRow("no keys, local-looking store prefix") << QStringList{"s3:a", "b"} << false << int(Err) << QByteArray("\n** Error **\nOperation: quorle\nMessage: Folder 's3:a' not found\nFailed: 1\nquorle: Folder 's3:a' not found") << false;
    // Sync options: the message on standard output, then the help screen.
    QTest::newRow("unknown option") << QStringList{"-x", "a", "b"} << true << int(Out) << QByteArray("\nInvalid arguments : -x") << true;
    QTest::newRow("third path") << QStringList{"a", "b", "c"} << true << int(Out) << QByteArray("\nInvalid arguments : c") << true;
    QTest::newRow("one path") << QStringList{"a"} << true << int(Out) << QByteArray("\nInvalid arguments : ") << true;
    QTest::newRow("filter without value") << QStringList{"a", "b", "--include-cs-filename"} << true << int(Out) << QByteArray("\nInvalid arguments : --include-cs-filename") << true;
    // An ill-formed filter: option and value glued, no help.
    QTest::newRow("upper-case filter word") << QStringList{"--INCLUDE-cs-filename", "x", "a", "b"} << true << int(Out) << QByteArray("\nInvalid arguments : --INCLUDE-cs-filenamex") << false;
    QTest::newRow("unknown filter word") << QStringList{"--exclude-cs-globname", "-x", "a", "b"} << true << int(Out) << QByteArray("\nInvalid arguments : --exclude-cs-globname-x") << false;
}

void TestCommandLine::rejectedArguments()
{
    QFETCH(QStringList, args);
    QFETCH(bool, withKeys);
    QFETCH(int, stream);
    QFETCH(QByteArray, message);
    QFETCH(bool, helpFollows);

    const ToolRun run = runTool(args, withKeys);
    QCOMPARE(run.exitCode, 1);
    const QByteArray& text = stream == Out ? run.out : run.err;
    const QByteArray& other = stream == Out ? run.err : run.out;
    QVERIFY2(text.startsWith(message), text.left(200).constData());
    if (helpFollows)
        QCOMPARE(text.mid(message.size(), helpStart.size()), helpStart);
    else
        QCOMPARE(text, message);
    QCOMPARE(other, QByteArray());
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
