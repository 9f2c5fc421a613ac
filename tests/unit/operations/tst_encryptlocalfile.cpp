#include <QBuffer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtTest>

#include "crypto/opensslloader.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "operations/encryptlocalfileatomicoperation.h"
#include "operations/localoperationrunner.h"
#include "temptree.h"

// The encoding pass of an upload on real files: which device holds the
// result, and that gzip and `openssl enc -d` give the file back.
class TestEncryptLocalFile : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void encode_data();
    void encode();
    void unreadableFileIsAFileError();
};

namespace {

const char global_password[] = "ünïcode password";

enum Device { NoDevice, Memory, TemporaryFile };

QSharedPointer<LocalFile> fileAt(const QString& path)
{
    const QFileInfo info(path);
    return QSharedPointer<LocalFile>::create(localFolderAt(info.absolutePath()), info.fileName());
}

Device kindOf(const QSharedPointer<QIODevice>& device)
{
    if (!device)
        return NoDevice;
    if (qobject_cast<QBuffer*>(device.data()))
        return Memory;
    return qobject_cast<QTemporaryFile*>(device.data()) ? TemporaryFile : NoDevice;
}

// Undoes the encoding with nothing but the standard tools.
QByteArray decodeWithTools(const QString& encodedPath, const ClientSideEncryption& settings)
{
    QStringList stages;
    if (settings.isEncryptionEnabled())
        stages << QStringLiteral("openssl enc -d -aes-256-cfb8 -md sha1 -pass env:PW %1")
                      .arg(settings.isSalted() ? "" : "-nosalt");
    if (settings.isCompressionEnabled())
        stages << QStringLiteral("gzip -dc");
    QProcess shell;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("PW"), QString::fromUtf8(global_password));
    shell.setProcessEnvironment(env);
    shell.setStandardInputFile(encodedPath);
    shell.start(QStringLiteral("sh"), {QStringLiteral("-c"), stages.join(QLatin1String(" | "))});
    if (!shell.waitForFinished(60000) || shell.exitCode() != 0)
        return "<tools failed: " + shell.readAllStandardError() + '>';
    return shell.readAllStandardOutput();
}

} // namespace

void TestEncryptLocalFile::initTestCase()
{
    QVERIFY(initializeOpenSSL().first);
}

void TestEncryptLocalFile::encode_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<bool>("compress");
    QTest::addColumn<bool>("encrypt");
    QTest::addColumn<bool>("salted");
    QTest::addColumn<int>("device");
    const qint64 limit = EncryptLocalFileAtomicOperation::_maxInMemorySize;
    QTest::newRow("empty file: nothing made") << qint64(0) << true << true << true << int(NoDevice);
    QTest::newRow("small, both") << qint64(1000) << true << true << true << int(Memory);
    QTest::newRow("small, no salt") << qint64(17) << false << true << false << int(Memory);
    QTest::newRow("small, gzip only") << qint64(5000) << true << false << true << int(Memory);
    QTest::newRow("4 MiB in memory") << limit << true << true << true << int(Memory);
    QTest::newRow("4 MiB + 1 in a file") << limit + 1 << false << true << true << int(TemporaryFile);
    // More than one 512 KiB piece of output, so the gzip stream spans pieces.
    QTest::newRow("large, both, no salt") << 3 * limit << true << true << false << int(TemporaryFile);
}

void TestEncryptLocalFile::encode()
{
    QFETCH(qint64, size);
    QFETCH(bool, compress);
    QFETCH(bool, encrypt);
    QFETCH(bool, salted);
    QFETCH(int, device);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("plain"));
    // Half random, half repetitive: some of it compresses.
    QByteArray plain(size, 'a');
    for (qint64 i = 0; i < size / 2; ++i)
        plain[i] = char(QRandomGenerator::global()->generate());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(plain) == size);
    file.close();

    ClientSideEncryption settings;
    settings.setCompressionEnabled(compress);
    settings.setEncryptionEnabled(encrypt);
    settings.setSalted(salted);
    settings.setAlgorithm(ClientSideEncryption::Aes256Cfb8);
    settings.setPassword(Password::fromString(QString::fromUtf8(global_password)));
    EncryptLocalFileAtomicOperation op(nullptr, fileAt(path), settings);
    LocalOperationRunner(&op, true, nullptr).run();

    QVERIFY2(op.error().isNull(), qPrintable(op.error().toString(true)));
    QCOMPARE(int(kindOf(op.device)), device);
    if (!op.device)
        return;
    QCOMPARE(op.iv().isEmpty(), !encrypt);
    QVERIFY(!op.device->isOpen());
    QVERIFY(op.device->open(QIODevice::ReadOnly));
    const QByteArray encoded = op.device->readAll();
    op.device->close();
    QCOMPARE(qint64(encoded.size()), op.encodedSize);
    QCOMPARE(encoded.startsWith("Salted__"), encrypt && salted);

    QTemporaryFile encodedFile;
    QVERIFY(encodedFile.open() && encodedFile.write(encoded) == encoded.size());
    encodedFile.close();
    QVERIFY(decodeWithTools(encodedFile.fileName(), settings) == plain);
    QVERIFY(!op.log().contains(global_password));
}

void TestEncryptLocalFile::unreadableFileIsAFileError()
{
    // A folder has a size but can't be opened as a file, even by root.
    QTemporaryDir dir;
    QVERIFY(makeTree(dir.path(), {QStringLiteral("folder/"), QStringLiteral("folder/inside")}));
    const QString path = dir.filePath(QStringLiteral("folder"));
    ClientSideEncryption settings;
    settings.setCompressionEnabled(true);
    EncryptLocalFileAtomicOperation op(nullptr, fileAt(path), settings);
    LocalOperationRunner(&op, true, nullptr).run();
    QCOMPARE(op.error().type(), OpError::FileError);
    QVERIFY2(op.error().message().startsWith(QStringLiteral("Operation: Compression\nPath: ") + path + '\n'),
             qPrintable(op.error().message()));
    QVERIFY(op.log().contains("Error : "));
    QVERIFY(!op.device);
}

QTEST_GUILESS_MAIN(TestEncryptLocalFile)
#include "tst_encryptlocalfile.moc"
