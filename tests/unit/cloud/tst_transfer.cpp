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

// Uploads, downloads and multipart uploads and copies of single files through
// the shell copy, a real Shell and its handlers, against a loopback server
// that plays the store and answers in turn.
class TestTransfer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void uploadHead_data();
    void uploadHead();
    void download_data();
    void download();
    void multipartUpload_data();
    void multipartUpload();
    void belowThresholdIsOnePut();
    void copyAbove5GiBGoesInRanges();
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
                             bool hashes = false, const TransferSettings& settings = TransferSettings())
{
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

const QByteArray global_uploadId = "2~up/load+id";
const QByteArray global_xml = "Content-Type: application/xml\r\n";

QByteArray xmlAnswer(const QByteArray& body, const QByteArray& extra = QByteArray())
{
    return httpAnswer(200, "OK", body, global_xml + extra);
}

const QByteArray global_initiated = xmlAnswer("<InitiateMultipartUploadResult><UploadId>" + global_uploadId
                                              + "</UploadId></InitiateMultipartUploadResult>");

// Where the requests whose line holds text stand in the store's lists.
QList<int> requestsWith(const FakeStore& store, const QByteArray& text)
{
    QList<int> found;
    for (int i = 0; i < store.requests.size(); ++i) {
        if (store.requests.at(i).contains(text))
            found << i;
    }
    return found;
}

// A local file of size bytes that differ from part to part, sent with the
// smallest threshold, one part at a time.
ShellCopyFileOperation* uploadOf(const QString& folder, qint64 size, int port, QByteArray* data)
{
    data->resize(size);
    for (qint64 i = 0; i < size; ++i)
        (*data)[i] = char((i * 7 + i / 4096) & 0xff);
    TransferSettings settings;
    settings.multipart.setThreshold(Multipart::_minimumThreshold);
    settings.multipart.setPartsInFlight(1);
    return copy(writeFile(folder, "big.bin", *data), loopbackBucket(port, QStringLiteral("bucket")), false, settings);
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

// Reduced redundancy and server-side encryption are asked for in both rows;
// the store fails the first send, and the whole file goes again with its MD5.
void TestTransfer::uploadHead()
{
    QFETCH(int, provider);
    QFETCH(QString, name);
    QFETCH(QByteArray, contentType);
    QFETCH(bool, storageFields);

    FakeStore store({httpAnswer(500, "Internal Server Error", "<Error><Code>InternalError</Code></Error>", global_xml),
                     httpAnswer(200, "OK", "", "Date: Tue, 27 Mar 2007 19:36:42 GMT\r\nx-amz-version-id: v7\r\n")});
    QTemporaryDir dir;
    const QByteArray content = QByteArray("\0\1\2 body", 8).repeated(700);
    TransferSettings settings;
    settings.storageDirective = StorageDirective(StorageDirective::SetMode, StorageDirective::ReducedRedundancyStorage);
    settings.serverSideEncryption = ServerSideEncryption(ServerSideEncryption::Enabled, ServerSideEncryption::Aes256);
    QScopedPointer<ShellCopyFileOperation> op(copy(
        writeFile(dir.path(), name, content),
        loopbackBucket(store.port(), QStringLiteral("bucket"), AbstractAccount::Provider(provider)), true, settings));
    QVERIFY(runShell(op.data(), 2));
    QVERIFY2(op->error().isNull(), qPrintable(op->error().message()));

    QCOMPARE(store.bodies, QList<QByteArray>({content, content}));
    const QByteArray head = store.heads.first();
    QVERIFY(head.startsWith("PUT /bucket/" + QUrl::toPercentEncoding(name, "/") + " HTTP/1.1"));
    QCOMPARE(headerValue(store.heads.last(), "Content-MD5"),
             QCryptographicHash::hash(content, QCryptographicHash::Md5).toBase64());
    QCOMPARE(headerValue(head, "Content-Type"), contentType);
    QCOMPARE(head.toLower().count("content-length:"), 1);
    QCOMPARE(headerValue(head, "Content-Length"), QByteArray::number(content.size()));
    QCOMPARE(headerValue(head, "Expect"), QByteArray("100-continue"));
    QCOMPARE(!headerValue(head, "x-amz-storage-class").isEmpty(), storageFields);
    QCOMPARE(!headerValue(head, "x-amz-server-side-encryption").isEmpty(), storageFields);
    const auto uploaded = op->copiedFile().dynamicCast<AbstractCloudFile>();
    QVERIFY(uploaded);
    QCOMPARE(uploaded->size(), qint64(content.size()));
    QCOMPARE(uploaded->versionId(), QByteArray("v7"));
    QCOMPARE(uploaded->lastModified().toUTC(), QDateTime(QDate(2007, 3, 27), QTime(19, 36, 42), Qt::UTC));
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
    QTest::newRow("another tool's multipart etag: nothing to check") << httpAnswer(200, "OK", "checked body", multipart)
                                                                       << QByteArray("checked body") << "";
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

void TestTransfer::multipartUpload_data()
{
    QTest::addColumn<QByteArray>("completion");
    QTest::addColumn<QString>("error");

    QTest::newRow("all parts go once")
        << xmlAnswer("<CompleteMultipartUploadResult/>", "Date: Tue, 27 Mar 2007 19:36:42 GMT\r\n") << QString();
    QTest::newRow("the store refuses the completion in a 200: aborted")
        << xmlAnswer("<Error><Code>InvalidPart</Code><Message>bad</Message></Error>") << QStringLiteral("bad");
}

void TestTransfer::multipartUpload()
{
    QFETCH(QByteArray, completion);
    QFETCH(QString, error);

    // Each part's ETag names the order it came in; the completion must pair
    // every number with its own part's ETag.
    FakeStore store({global_initiated, httpAnswer(200, "OK", "", "ETag: \"e1\"\r\n"),
                     httpAnswer(200, "OK", "", "ETag: \"e2\"\r\n"), httpAnswer(200, "OK", "", "ETag: \"e3\"\r\n"),
                     completion, httpAnswer(204, "No Content")});
    QTemporaryDir dir;
    QByteArray data;
    // Two whole parts of the smallest size and a short last one.
    QScopedPointer<ShellCopyFileOperation> op(
        uploadOf(dir.path(), 2 * Multipart::_minimumPartSize + 3, store.port(), &data));
    QVERIFY(op && runShell(op.data(), 3));

    QCOMPARE(store.requests.value(0), QByteArray("POST /bucket/big.bin?uploads"));
    // The plain size and MD5 travel as the metadata of encoded objects does.
    QCOMPARE(headerValue(store.heads.first(), "x-amz-meta-brindlebox-etag"),
             QCryptographicHash::hash(data, QCryptographicHash::Md5).toBase64());
    QCOMPARE(headerValue(store.heads.first(), "x-amz-meta-brindlebox-content-length"),
             QByteArray::number(data.size()));

    const QByteArray id = "uploadId=" + QUrl::toPercentEncoding(QString::fromLatin1(global_uploadId));
    const QList<int> parts = requestsWith(store, "?partNumber=");
    QCOMPARE(parts.size(), 3);
    QMap<int, QByteArray> entries;
    for (int i = 0; i < parts.size(); ++i) {
        const QByteArray& line = store.requests.at(parts.at(i));
        QVERIFY2(line.endsWith('&' + id), line.constData());
        const int n = line.mid(line.indexOf("partNumber=") + 11).split('&').first().toInt();
        QCOMPARE(store.bodies.at(parts.at(i)),
                 data.mid(qint64(n - 1) * Multipart::_minimumPartSize, Multipart::_minimumPartSize));
        entries[n] = "<Part><PartNumber>" + QByteArray::number(n) + "</PartNumber><ETag>&quot;e"
            + QByteArray::number(i + 1) + "&quot;</ETag></Part>";
    }
    QCOMPARE(requestsWith(store, "POST /bucket/big.bin?" + id).size(), 1);
    QCOMPARE(store.bodies.at(requestsWith(store, "POST /bucket/big.bin?" + id).first()),
             "<CompleteMultipartUpload>" + entries.values().join() + "</CompleteMultipartUpload>");
    QCOMPARE(requestsWith(store, "DELETE /bucket/big.bin?" + id).size(), error.isEmpty() ? 0 : 1);
    QCOMPARE(op->error().message(), error);
    const auto uploaded = op->copiedFile().dynamicCast<AbstractCloudFile>();
    QCOMPARE(!uploaded, !error.isEmpty());
    if (uploaded) {
        QCOMPARE(uploaded->size(), qint64(data.size()));
        QCOMPARE(uploaded->lastModified().toUTC(), QDateTime(QDate(2007, 3, 27), QTime(19, 36, 42), Qt::UTC));
    }
}

void TestTransfer::belowThresholdIsOnePut()
{
    FakeStore store({httpAnswer(200)});
    QTemporaryDir dir;
    QByteArray data;
    QScopedPointer<ShellCopyFileOperation> op(uploadOf(dir.path(), Multipart::_minimumThreshold, store.port(), &data));
    QVERIFY(op && runShell(op.data(), 2));
    QVERIFY(op->error().isNull());
    QCOMPARE(store.requests, QList<QByteArray>{"PUT /bucket/big.bin"});
    QVERIFY(headerValue(store.heads.first(), "x-amz-meta-brindlebox-etag").isEmpty());
}

void TestTransfer::copyAbove5GiBGoesInRanges()
{
    // Just above what one copy request may make.
    const qint64 gib = Q_INT64_C(1024) * 1024 * 1024;
    const qint64 size = 5 * gib + 1;
    FakeStore store({"HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(size)
                         + "\r\nETag: \"0123456789abcdef0123456789abcdef-7\"\r\nx-amz-meta-origin: kept\r\n\r\n",
                     global_initiated, xmlAnswer("<CopyPartResult><ETag>\"e\"</ETag></CopyPartResult>")});
    const QSharedPointer<AbstractCloudFile> object =
        Driver::createFile("big.bin", size, QDateTime(), QByteArray(), loopbackBucket(store.port(), "src"), true,
                           QByteArray(), {}, StorageDirective::StandardStorage);
    QScopedPointer<ShellCopyFileOperation> op(copy(object, loopbackBucket(store.port(), "dst")));
    QVERIFY(runShell(op.data(), 3));
    QVERIFY2(op->error().isNull(), qPrintable(op->error().message()));

    QCOMPARE(store.requests.mid(0, 2), QList<QByteArray>({"HEAD /src/big.bin", "POST /dst/big.bin?uploads"}));
    // A new upload takes no metadata by itself: the source's is given again.
    QCOMPARE(headerValue(store.heads.at(1), "x-amz-meta-origin"), QByteArray("kept"));
    QSet<QByteArray> ranges;
    for (int i : requestsWith(store, "?partNumber=")) {
        QCOMPARE(headerValue(store.heads.at(i), "x-amz-copy-source"), QByteArray("/src/big.bin"));
        QVERIFY(store.bodies.at(i).isEmpty());
        ranges << headerValue(store.heads.at(i), "x-amz-copy-source-range");
    }
    QSet<QByteArray> expected;
    for (qint64 n = 0; n < 5; ++n)
        expected << "bytes=" + QByteArray::number(n * gib) + '-' + QByteArray::number((n + 1) * gib - 1);
    expected << "bytes=" + QByteArray::number(5 * gib) + '-' + QByteArray::number(5 * gib);
    QCOMPARE(ranges, expected);
    const QList<int> completion = requestsWith(store, "POST /dst/big.bin?uploadId=");
    QCOMPARE(completion.size(), 1);
    QCOMPARE(store.bodies.at(completion.first()).count("<Part>"), 6);
    QCOMPARE(op->copiedFile().dynamicCast<AbstractCloudFile>()->size(), size);
}

QTEST_GUILESS_MAIN(TestTransfer)
#include "tst_transfer.moc"
