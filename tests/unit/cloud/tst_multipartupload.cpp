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

// Multipart uploads and copies through a real Shell against a loopback store
// that answers initiate, parts, complete and abort in turn.
class TestMultipartUpload : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void upload_data();
    void upload();
    void belowThresholdIsOnePut();
    void copyAbove5GiBGoesInRanges();
};

namespace {

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

ShellCopyFileOperation* copyOf(const QSharedPointer<AbstractFile>& file,
                               const QSharedPointer<AbstractBucket>& bucket,
                               const TransferSettings& settings = TransferSettings())
{
    auto* op = new ShellCopyFileOperation(nullptr, file, bucket, file->name(), ShellCopyFileOperation::NoCopyFlags,
                                          OverwriteMode(), settings);
    op->setOverwriteMode(BrindleLib::OverwriteAlways);
    return op;
}

// A local file of size bytes that differ from part to part, sent with the
// smallest threshold, one part at a time.
ShellCopyFileOperation* uploadOf(const QString& folder, qint64 size, int port, QByteArray* data)
{
    data->resize(size);
    for (qint64 i = 0; i < size; ++i)
        (*data)[i] = char((i * 7 + i / 4096) & 0xff);
    QFile file(folder + QStringLiteral("/big.bin"));
    if (!file.open(QIODevice::WriteOnly) || file.write(*data) != size)
        return nullptr;
    file.close();
    TransferSettings settings;
    settings.multipart.setThreshold(Multipart::_minimumThreshold);
    settings.multipart.setPartsInFlight(1);
    return copyOf(QSharedPointer<LocalFile>::create(localFolderAt(folder).staticCast<AbstractLocalContainer>(),
                                                    QStringLiteral("big.bin")),
                  loopbackBucket(port, QStringLiteral("bucket")), settings);
}

} // namespace

void TestMultipartUpload::upload_data()
{
    QTest::addColumn<QByteArray>("completion");
    QTest::addColumn<QString>("error");

    QTest::newRow("all parts go once")
        << xmlAnswer("<CompleteMultipartUploadResult/>", "Date: Tue, 27 Mar 2007 19:36:42 GMT\r\n") << QString();
    QTest::newRow("the store refuses the completion in a 200: aborted")
        << xmlAnswer("<Error><Code>InvalidPart</Code><Message>bad</Message></Error>") << QStringLiteral("bad");
}

void TestMultipartUpload::upload()
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

void TestMultipartUpload::belowThresholdIsOnePut()
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

void TestMultipartUpload::copyAbove5GiBGoesInRanges()
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
    QScopedPointer<ShellCopyFileOperation> op(copyOf(object, loopbackBucket(store.port(), "dst")));
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

QTEST_GUILESS_MAIN(TestMultipartUpload)
#include "tst_multipartupload.moc"
