#include <zlib.h>

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QtTest>

#include "fakestore.h"
#include "items/abstractbucket.h"
#include "items/abstractcloudfile.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "shellrunner.h"
#include "sync/shellcopyfileoperation.h"
#include "temptree.h"

// Upload and download of single files through the shell copy, a real Shell
// and its handlers, against a loopback server that plays the store.
class TestTransfer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void uploadHead_data();
    void uploadHead();
    void uploadRetrySendsTheWholeFileAgain();
    void download_data();
    void download();
};

namespace {

QByteArray gzip(const QByteArray& data)
{
    z_stream stream {};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 31, 9, Z_DEFAULT_STRATEGY);
    QByteArray out(int(deflateBound(&stream, uLong(data.size()))), Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = uInt(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(int(stream.total_out));
    deflateEnd(&stream);
    return out;
}

QSharedPointer<AbstractCloudFile> loopbackObject(int port, const QString& key)
{
    return Driver::createFile(key, 0, QDateTime(), QByteArray(), loopbackBucket(port, QStringLiteral("bucket")), true,
                              QByteArray(), {}, StorageDirective::StandardStorage);
}

// One shell copy as the root, overwriting as a synchronisation does; hashes
// asks for the MD5 of what is sent or written.
ShellCopyFileOperation* copy(const QSharedPointer<AbstractFile>& file, const QSharedPointer<AbstractFolder>& folder,
                             bool hashes = false, const StorageDirective& storage = StorageDirective(),
                             const ServerSideEncryption& sse = ServerSideEncryption())
{
    TransferSettings settings;
    settings.serverSideEncryption = sse;
    settings.storageDirective = storage;
    const auto flags = hashes ? ShellCopyFileOperation::ComputeMd5 | ShellCopyFileOperation::CompareExisting
                              : ShellCopyFileOperation::CopyFlags();
    auto* op = new ShellCopyFileOperation(nullptr, file, folder, file->name(), flags, OverwriteMode(), settings);
    op->setOverwriteMode(BrindleLib::OverwriteAlways);
    return op;
}

QSharedPointer<LocalFile> writeFile(const QString& folder, const QString& name, const QByteArray& content)
{
    QFile file(folder + QLatin1Char('/') + name);
    file.open(QIODevice::WriteOnly);
    file.write(content);
    file.close();
    return QSharedPointer<LocalFile>::create(localFolderAt(folder).staticCast<AbstractLocalContainer>(), name);
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

void TestTransfer::uploadHead_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<bool>("storageFields");

    QTest::newRow("amazon, pdf, rrs and sse") << int(AbstractAccount::AmazonS3Provider) << "a b+c.PDF"
                                              << QByteArray("application/pdf") << true;
    QTest::newRow("other store: no storage fields") << int(AbstractAccount::OtherS3Provider) << "x.txt"
                                                    << QByteArray("text/plain") << false;
}

// Reduced redundancy and server-side encryption are asked for in both rows.
void TestTransfer::uploadHead()
{
    QFETCH(int, provider);
    QFETCH(QString, name);
    QFETCH(QByteArray, contentType);
    QFETCH(bool, storageFields);

    FakeStore store({httpAnswer(200, "OK", "", "Date: Tue, 27 Mar 2007 19:36:42 GMT\r\nx-amz-version-id: v7\r\n")});
    QTemporaryDir dir;
    const QByteArray content = QByteArray("\0\1\2 body", 8).repeated(700);
    QScopedPointer<ShellCopyFileOperation> op(
        copy(writeFile(dir.path(), name, content),
             loopbackBucket(store.port(), QStringLiteral("bucket"), AbstractAccount::Provider(provider)), false,
             StorageDirective(StorageDirective::SetMode, StorageDirective::ReducedRedundancyStorage),
             ServerSideEncryption(ServerSideEncryption::Enabled, ServerSideEncryption::Aes256)));
    QVERIFY(runShell(op.data(), 2));
    QVERIFY2(op->error().isNull(), qPrintable(op->error().message()));

    QCOMPARE(store.heads.size(), 1);
    const QByteArray head = store.heads.first();
    QVERIFY(head.startsWith("PUT /bucket/" + QUrl::toPercentEncoding(name, "/") + " HTTP/1.1"));
    QCOMPARE(store.bodies.first(), content);
    QCOMPARE(headerValue(head, "Content-Type"), contentType);
    QCOMPARE(head.toLower().count("content-length:"), 1);
    QCOMPARE(headerValue(head, "Content-Length"), QByteArray::number(content.size()));
    QCOMPARE(headerValue(head, "Expect"), QByteArray("100-continue"));
    QCOMPARE(!headerValue(head, "x-amz-storage-class").isEmpty(), storageFields);
    QCOMPARE(!headerValue(head, "x-amz-server-side-encryption").isEmpty(), storageFields);
    QVERIFY(headerValue(head, "Content-MD5").isEmpty());
    const auto uploaded = op->copiedFile().dynamicCast<AbstractCloudFile>();
    QVERIFY(uploaded);
    QCOMPARE(uploaded->size(), qint64(content.size()));
    QCOMPARE(uploaded->versionId(), QByteArray("v7"));
    QCOMPARE(uploaded->lastModified().toUTC(), QDateTime(QDate(2007, 3, 27), QTime(19, 36, 42), Qt::UTC));
}

void TestTransfer::uploadRetrySendsTheWholeFileAgain()
{
    const QByteArray error = "<?xml version=\"1.0\"?><Error><Code>InternalError</Code><Message>m</Message></Error>";
    FakeStore store({httpAnswer(500, "Internal Server Error", error, "Content-Type: application/xml\r\n"),
                     httpAnswer(200, "OK")});
    QTemporaryDir dir;
    const QByteArray content(300000, 'q');
    QScopedPointer<ShellCopyFileOperation> op(
        copy(writeFile(dir.path(), "f.bin", content), loopbackBucket(store.port(), "bucket"), true));
    QVERIFY(runShell(op.data(), 1));
    QVERIFY(op->error().isNull());
    QCOMPARE(store.bodies, QList<QByteArray>({content, content}));
    const QByteArray md5 = QCryptographicHash::hash(content, QCryptographicHash::Md5).toBase64();
    QCOMPARE(headerValue(store.heads.at(1), "Content-MD5"), md5);
}

void TestTransfer::download_data()
{
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QString>("error"); // its code, or its message when it has none

    const QByteArray big = QByteArray("0123456789abcdef").repeated(100000);
    const QByteArray gz = "Content-Encoding: gzip\r\n";
    const QByteArray multipart = "ETag: \"0123456789abcdef0123456789abcdef-2\"\r\n";
    const QByteArray md5 = QCryptographicHash::hash("checked body", QCryptographicHash::Md5).toBase64();
    QTest::newRow("plain text marked gzip") << httpAnswer(200, "OK", "not gzip", gz) << QByteArray("not gzip") << "";
    QTest::newRow("gzip inflated over several blocks") << httpAnswer(200, "OK", gzip(big), gz) << big << "";
    QTest::newRow("broken gzip leaves the target alone") << httpAnswer(200, "OK", "\x1f\x8b\x08zzzzzzzzzzzz", gz)
                                                         << QByteArray("old content")
                                                         << "invalid or incomplete deflate data";
    QTest::newRow("403 leaves the target alone")
        << httpAnswer(403, "Forbidden", "<Error><Code>AccessDenied</Code></Error>", "Content-Type: application/xml\r\n")
        << QByteArray("old content") << "AccessDenied";
    QTest::newRow("multipart etag: the plain MD5 of the metadata decides")
        << httpAnswer(200, "OK", "checked body", multipart + "x-amz-meta-brindlebox-etag: " + md5 + "\r\n")
        << QByteArray("checked body") << "";
    QTest::newRow("multipart etag") << httpAnswer(200, "OK", "checked body", multipart) << QByteArray("checked body")
                                    << "MD5 checksum does not match";
    QTest::newRow("no etag: nothing compared") << httpAnswer(200, "OK", "checked body") << QByteArray("checked body")
                                               << "";
}

// Each answer is asked for once, the MD5 of what is written computed.
void TestTransfer::download()
{
    QFETCH(QByteArray, response);
    QFETCH(QByteArray, written);
    QFETCH(QString, error);

    FakeStore store({response});
    QTemporaryDir dir;
    writeFile(dir.path(), "o b.bin", "old content");
    QScopedPointer<ShellCopyFileOperation> op(
        copy(loopbackObject(store.port(), "sub/o b.bin"), localFolderAt(dir.path()), true));
    QVERIFY(runShell(op.data(), 2));
    QCOMPARE(op->error().code().isEmpty() ? op->error().message() : op->error().code(), error);
    QCOMPARE(store.requests, QList<QByteArray>{"GET /bucket/sub/o%20b.bin"});
    QCOMPARE(headerValue(store.heads.first(), "Accept-Encoding"), QByteArray("gzip"));
    QCOMPARE(readFile(dir.path() + "/o b.bin"), written);
    if (error.isEmpty())
        QCOMPARE(op->copiedFile()->size(), qint64(written.size()));
}

QTEST_GUILESS_MAIN(TestTransfer)
#include "tst_transfer.moc"
