#include <QtTest>

#include <memory>

#include "cloud/copywsfiletowsatomicoperation.h"
#include "cloud/copywsfiletowsoperation.h"
#include "cloud/creates3folderoperation.h"
#include "cloud/deletecloudfileoperation.h"
#include "cloud/deletes3emptyfolderoperation.h"
#include "cloud/headwsfileoperation.h"
#include "cloud/lists3versionsatomicoperation.h"
#include "cloud/s3containerexistsoperation.h"
#include "cloud/wslistatomicoperation.h"
#include "items/abstractbucket.h"
#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/driver.h"
#include "fakestore.h"
#include "shellrunner.h"
#include "sync/comparefilecontentforsyncoperation.h"
#include "testoperations.h"

// The store's read, head, delete and folder operations against a loopback
// server that answers from a script and keeps the requests.
class TestStoreOperations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void listingQuery_data();
    void listingQuery();
    void head_data();
    void head();
    void deleteNeeds204_data();
    void deleteNeeds204();
    void createFolderHeadsFirst_data();
    void createFolderHeadsFirst();
    void folderExistsByItsKeys_data();
    void folderExistsByItsKeys();
    void plainContent_data();
    void plainContent();
    void copySource_data();
    void copySource();
    void copyAnswer_data();
    void copyAnswer();
    void copyKeepsTargetMetadata();
};

namespace {

QByteArray answer(int status, const QByteArray& body = QByteArray(), const QByteArray& extra = QByteArray())
{
    return httpAnswer(status, "Reason", body, "Content-Type: application/xml\r\n" + extra);
}

QByteArray listPage(const QStringList& keys, bool truncated, const QByteArray& extra = QByteArray())
{
    QByteArray body = "<ListBucketResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">"
                      "<IsTruncated>" + QByteArray(truncated ? "true" : "false") + "</IsTruncated>" + extra;
    for (const QString& key : keys)
        body += "<Contents><Key>" + key.toUtf8() + "</Key><ETag>\"0123abcd\"</ETag><Size>3</Size></Contents>";
    return answer(200, body + "</ListBucketResult>");
}

QSharedPointer<AbstractCloudFile> fileIn(const QSharedPointer<AbstractS3Folder>& folder, const QString& key,
                                         qint64 size = 3)
{
    return Driver::createFile(key, size, QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC),
                              QByteArray::fromHex("aa"), folder, true, QByteArray(), {},
                              StorageDirective::StandardStorage);
}

// Runs op under a shell; the shell, and op with it, lives as long as this.
struct Run
{
    explicit Run(const QList<AbstractOperation*>& ops, BrindleLib::OverwriteMode mode = BrindleLib::OverwriteAsk)
        : root(ops), finished((root.setOverwriteMode(mode), runShell(&root, 2)))
    {
    }
    explicit Run(AbstractOperation* op, BrindleLib::OverwriteMode mode = BrindleLib::OverwriteAsk)
        : Run(QList<AbstractOperation*>({op}), mode)
    {
    }
    OpError error() const { return root.error(); }

    ListShellOperation root;
    const bool finished;
};

} // namespace

void TestStoreOperations::initTestCase()
{
    qputenv("QUORLE_TIME_REFERENCE", "127.0.0.1:1");
}

void TestStoreOperations::listingQuery_data()
{
    QTest::addColumn<QString>("folderKey");
    QTest::addColumn<QString>("fileKey");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("marker");
    QTest::addColumn<QByteArray>("query");

    QTest::newRow("bucket keeps an empty prefix") << QString() << QString() << 0 << QString()
                                                   << QByteArray("prefix=&delimiter=%2F");
    QTest::newRow("subtree sends no delimiter") << "a b/" << QString() << 1 << "a b/c+d"
                                                << QByteArray("prefix=a%20b/&marker=a%20b%2Fc%2Bd");
    QTest::newRow("file mode starts with &") << QString() << "dir/x" << 0 << QString()
                                             << QByteArray("&prefix=dir/x&delimiter=%2F");
    QTest::newRow("versions") << "a/" << QString() << 2 << "a/k"
                              << QByteArray("versions&prefix=a/&delimiter=%2F&key-marker=a%2Fk&version-id-marker=v%2B1");
}

void TestStoreOperations::listingQuery()
{
    QFETCH(QString, folderKey);
    QFETCH(QString, fileKey);
    QFETCH(int, mode);
    QFETCH(QString, marker);
    QFETCH(QByteArray, query);

    const QSharedPointer<AbstractBucket> bucket = loopbackBucket(9);
    QSharedPointer<AbstractS3Folder> folder = bucket;
    if (!folderKey.isEmpty())
        folder = Driver::createFolder(folderKey, bucket, QByteArray(), false);
    std::unique_ptr<AbstractWSListAtomicOperation> op;
    if (mode == 2)
        op.reset(new ListS3VersionsAtomicOperation(nullptr, bucket, folder, marker, "v+1", QString(),
                                                   BrindleLib::ListOneLevel, Filter()));
    else if (!fileKey.isEmpty())
        op.reset(new WSListAtomicOperation(nullptr, bucket, fileIn(bucket, fileKey), marker, QString()));
    else
        op.reset(new WSListAtomicOperation(nullptr, bucket, folder, marker, QString(),
                                           BrindleLib::EntryListMode(mode), Filter()));

    const QUrl url = op->url();
    QCOMPARE(url.path(QUrl::FullyEncoded), QStringLiteral("/johnsmith/"));
    QCOMPARE(url.query(QUrl::FullyEncoded).toLatin1(), query);
    // The listing's parameters are never signed; the versions sub-resource is.
    QCOMPARE(op->canonicalizedResource().toString(QUrl::FullyEncoded),
             mode == 2 ? QStringLiteral("/johnsmith/?versions") : QStringLiteral("/johnsmith/"));
    std::unique_ptr<AbstractWSListAtomicOperation> copy(op->clone(nullptr));
    QCOMPARE(copy->url(), url);
}

void TestStoreOperations::head_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("found");
    QTest::addColumn<QByteArray>("versionId");
    QTest::addColumn<QString>("errorCode");

    QTest::newRow("found") << answer(200, QByteArray(10, 'x'),
                                     "ETag: \"00ff00ff00ff00ff00ff00ff00ff00ff\"\r\n"
                                     "Last-Modified: Tue, 15 Nov 1994 08:12:31 GMT\r\nx-amz-meta-colour: blue\r\n")
                           << true << QByteArray() << QString();
    QTest::newRow("403 is no object") << answer(403) << false << QByteArray() << QString();
    QTest::newRow("404 with a delete marker")
        << answer(404, QByteArray(), "x-amz-delete-marker: true\r\nx-amz-version-id: v7\r\n") << true
        << QByteArray("v7") << QString();
    // A HEAD answer has no body to hold an error document.
    QTest::newRow("400 is an error") << answer(400) << false << QByteArray() << "400";
}

void TestStoreOperations::head()
{
    QFETCH(QByteArray, reply);
    QFETCH(bool, found);
    QFETCH(QByteArray, versionId);
    QFETCH(QString, errorCode);

    FakeStore store({reply});
    const QSharedPointer<AbstractCloudFile> source = fileIn(loopbackBucket(store.port()), QStringLiteral("k"));
    auto* head = new HeadWSFileOperation(nullptr, source);
    const Run run(head);
    QVERIFY(run.finished);
    const OpError error = run.error();
    QCOMPARE(store.requests.value(0), QByteArray("HEAD /johnsmith/k"));
    QCOMPARE(error.code(), errorCode);
    QCOMPARE(!head->file.isNull(), found);
    // The item asked about keeps what the listing said.
    QCOMPARE(source->size(), 3);
    if (!found)
        return;
    QCOMPARE(head->file->versionId(), versionId);
    QCOMPARE(!head->file->deleteMarker().isNull(), !versionId.isEmpty());
    if (versionId.isEmpty()) {
        QCOMPARE(head->file->size(), 10);
        QCOMPARE(head->file->md5sum().toHex(), QByteArray("00ff00ff00ff00ff00ff00ff00ff00ff"));
        QCOMPARE(head->file->lastModified().toUTC(), QDateTime(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC));
        QCOMPARE(head->metadata.field("x-amz-meta-colour").value(), QByteArray("blue"));
    }
}

void TestStoreOperations::deleteNeeds204_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("errorCode");
    QTest::newRow("204") << answer(204) << QString();
    QTest::newRow("200 is not done") << answer(200) << "200";
    QTest::newRow("error document") << answer(403, "<Error><Code>AccessDenied</Code></Error>") << "AccessDenied";
}

void TestStoreOperations::deleteNeeds204()
{
    QFETCH(QByteArray, reply);
    QFETCH(QString, errorCode);
    FakeStore store({reply});
    const QSharedPointer<AbstractBucket> bucket = loopbackBucket(store.port());
    const Run run({new DeleteCloudFileOperation(nullptr, fileIn(bucket, QStringLiteral("a/b c"))),
                   new DeleteS3EmptyFolderOperation(nullptr, Driver::createFolder("a/", bucket, QByteArray(), false))});
    QVERIFY(run.finished);
    const OpError error = run.error();
    QCOMPARE(error.code(), errorCode);
    QCOMPARE(QSet<QByteArray>(store.requests.begin(), store.requests.end()),
             QSet<QByteArray>({"DELETE /johnsmith/a/b%20c", "DELETE /johnsmith/a/"}));
}

void TestStoreOperations::createFolderHeadsFirst_data()
{
    QTest::addColumn<QByteArray>("headReply");
    QTest::addColumn<bool>("failIfExists");
    QTest::addColumn<QList<QByteArray>>("requests");
    QTest::addColumn<QString>("message");

    const QList<QByteArray> both = {"HEAD /johnsmith/top/new/", "PUT /johnsmith/top/new/"};
    QTest::newRow("missing: put") << answer(404) << true << both << QString();
    QTest::newRow("there: no put") << answer(200) << false << QList<QByteArray>({both.first()}) << QString();
    QTest::newRow("there, exclusive") << answer(200) << true << QList<QByteArray>({both.first()})
                                      << "Folder 'new' already exists";
}

void TestStoreOperations::createFolderHeadsFirst()
{
    QFETCH(QByteArray, headReply);
    QFETCH(bool, failIfExists);
    QFETCH(QList<QByteArray>, requests);
    QFETCH(QString, message);

    FakeStore store({headReply, answer(200)});
    const QSharedPointer<AbstractBucket> bucket = loopbackBucket(store.port());
    const auto top = Driver::createFolder(QStringLiteral("top/"), bucket, QByteArray(), false);
    auto* create = new CreateS3FolderOperation(nullptr, top, QStringLiteral("new"), nullptr, failIfExists);
    const Run run(create);
    QVERIFY(run.finished);
    const OpError error = run.error();
    QCOMPARE(store.requests, requests);
    QCOMPARE(error.message(), message);
    QVERIFY(create->createdFolder);
    QCOMPARE(create->createdFolder->path(), QStringLiteral("top/new/"));
    if (requests.size() == 2)
        QVERIFY(store.heads.last().contains("Content-Length: 0\r\n"));
}

void TestStoreOperations::folderExistsByItsKeys_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("exists");
    QTest::newRow("only its own object") << listPage({"top/"}, false) << true;
    QTest::newRow("only keys below") << listPage({"top/a/b"}, true) << true;
    QTest::newRow("nothing") << listPage({}, false) << false;
    QTest::newRow("no bucket") << answer(404, "<Error><Code>NoSuchBucket</Code></Error>") << false;
}

void TestStoreOperations::folderExistsByItsKeys()
{
    QFETCH(QByteArray, reply);
    QFETCH(bool, exists);
    FakeStore store({reply});
    const QSharedPointer<AbstractBucket> bucket = loopbackBucket(store.port());
    auto* check = new S3ContainerExistsOperation(nullptr, Driver::createFolder("top/", bucket, QByteArray(), false));
    const Run run(check);
    QVERIFY(run.finished);
    const OpError error = run.error();
    QVERIFY(error.isNull());
    QCOMPARE(store.requests.value(0), QByteArray("GET /johnsmith/?prefix=top/&max-keys=1&delimiter=%2F"));
    QCOMPARE(check->exists, exists);
}

void TestStoreOperations::plainContent_data()
{
    QTest::addColumn<QByteArray>("storeMd5");
    QTest::addColumn<QByteArray>("encryption");
    QTest::addColumn<QByteArray>("contentEncoding");
    QTest::addColumn<QByteArray>("length");
    QTest::addColumn<bool>("comparable");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QByteArray>("md5");

    const QByteArray stored(16, '\xaa');
    const QByteArray multipart = QByteArray::fromHex("0123456789abcdef0123456789abcdef2");
    const QByteArray plain = "plain-md5";
    QTest::newRow("no metadata of ours: the store's own") << stored << QByteArray() << QByteArray() << QByteArray("7")
                                                          << true << qint64(3) << stored;
    QTest::newRow("multipart etag: the plain size and MD5") << multipart << QByteArray() << QByteArray()
                                                            << QByteArray("7") << true << qint64(7) << plain;
    QTest::newRow("encrypted, from metadata") << stored << QByteArray("aes-256-cbc; 00") << QByteArray()
                                              << QByteArray("7") << true << qint64(7) << plain;
    QTest::newRow("encrypted without a length") << stored << QByteArray("gzip; aes-256-cbc; 00") << QByteArray()
                                                << QByteArray() << true << qint64(-1) << plain;
    QTest::newRow("settings without ';'") << stored << QByteArray("aes-256-cbc") << QByteArray() << QByteArray("7")
                                          << false << qint64(0) << QByteArray();
    QTest::newRow("ours and gzip-encoded") << stored << QByteArray("") << QByteArray("gzip") << QByteArray("7")
                                           << false << qint64(0) << QByteArray();
    QTest::newRow("foreign encoding") << stored << QByteArray() << QByteArray("br") << QByteArray("7") << true
                                      << qint64(7) << plain;
}

void TestStoreOperations::plainContent()
{
    QFETCH(QByteArray, storeMd5);
    QFETCH(QByteArray, encryption);
    QFETCH(QByteArray, contentEncoding);
    QFETCH(QByteArray, length);
    QFETCH(bool, comparable);
    QFETCH(qint64, size);
    QFETCH(QByteArray, md5);

    const QSharedPointer<AbstractCloudFile> file = fileIn(loopbackBucket(9), QStringLiteral("k"));
    file->setMd5Sum(storeMd5);
    const QSharedPointer<AbstractAccount> account = file->account();
    Metadata metadata;
    if (!encryption.isNull())
        metadata.append(HttpField(account->xMetaBrindleboxEncryption(), encryption));
    if (!contentEncoding.isEmpty())
        metadata.append(HttpField("Content-Encoding", contentEncoding));
    if (!length.isEmpty())
        metadata.append(HttpField(account->xMetaBrindleboxContentLength(), length));
    metadata.append(HttpField(account->xMetaBrindleboxETag(), QByteArray("plain-md5").toBase64()));

    qint64 gotSize = 0;
    QByteArray gotMd5;
    QCOMPARE(CompareFileContentForSyncOperation::plainContent(metadata, file, &gotSize, &gotMd5), comparable);
    if (!comparable)
        return;
    QCOMPARE(gotSize, size);
    QCOMPARE(gotMd5, md5);
}

void TestStoreOperations::copySource_data()
{
    QTest::addColumn<int>("style");
    QTest::addColumn<QString>("bucket");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<QByteArray>("value");

    const int host = BrindleLib::RequestStyleVirtualHost;
    const int path = BrindleLib::RequestStylePath;
    QTest::newRow("host style: no leading /") << host << "mybucket" << "d/a b+c" << QByteArray()
                                              << QByteArray("mybucket/d/a%20b%2Bc");
    QTest::newRow("path style: leading /") << path << "mybucket" << "d/a b+c" << QByteArray()
                                           << QByteArray("/mybucket/d/a%20b%2Bc");
    QTest::newRow("no host name: in the path") << host << "My_Bucket" << "k" << QByteArray()
                                               << QByteArray("/My_Bucket/k");
    QTest::newRow("non-ASCII key stays encoded") << host << "mybucket" << QString::fromUtf8("ü/日") << QByteArray()
                                                 << QByteArray("mybucket/%C3%BC/%E6%97%A5");
    QTest::newRow("version query kept") << path << "mybucket" << "k" << QByteArray("3/L4kq+t=")
                                        << QByteArray("/mybucket/k?versionId=3%2FL4kq%2Bt%3D");
}

void TestStoreOperations::copySource()
{
    QFETCH(int, style);
    QFETCH(QString, bucket);
    QFETCH(QString, key);
    QFETCH(QByteArray, version);
    QFETCH(QByteArray, value);

    QSharedPointer<AbstractAccount> account = Driver::createAccount(AbstractAccount::AmazonS3Provider, Id());
    account->setRequestStyle(BrindleLib::RequestStyle(style));
    const auto root = Driver::createBucketItem(bucket, QDateTime(), account);
    const auto source = Driver::createFile(key, 3, QDateTime(), QByteArray(), root, version.isEmpty(), version, {},
                                           StorageDirective::StandardStorage);
    QCOMPARE(CopyWSFileToWSAtomicOperation::copySource(source), value);
}

void TestStoreOperations::copyAnswer_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("message");

    const QByteArray result = "<CopyObjectResult><LastModified>2009-10-12T17:50:30.000Z</LastModified>"
                              "<ETag>\"9b2cf535f27731c974343645a3985328\"</ETag></CopyObjectResult>";
    const QByteArray length = "Content-Length: " + QByteArray::number(result.size()) + "\r\n\r\n";
    QTest::newRow("result") << answer(200, result) << QString();
    QTest::newRow("result labelled HTML")
        << "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=UTF-8\r\n" + length + result << QString();
    QTest::newRow("no type") << "HTTP/1.1 200 OK\r\n" + length + result << "Invalid response";
    QTest::newRow("error document in a 200")
        << answer(200, "<Error><Code>AccessDenied</Code><Message>no</Message></Error>") << "no";
}

void TestStoreOperations::copyAnswer()
{
    QFETCH(QByteArray, reply);
    QFETCH(QString, message);

    FakeStore store({reply});
    const QSharedPointer<AbstractBucket> bucket = loopbackBucket(store.port());
    auto* copy = new CopyWSFileToWSOperation(nullptr, fileIn(bucket, QStringLiteral("a/b c"), 7),
                                             Driver::createFolder("to/", bucket, QByteArray(), false),
                                             QStringLiteral("b c"), false,
                                             MetadataDirective(MetadataDirective::CopyDirective, Metadata()),
                                             OverwriteMode(), TransferSettings());
    const Run run(copy, BrindleLib::OverwriteAlways);
    QVERIFY(run.finished);
    const OpError error = run.error();
    QCOMPARE(error.message(), message);
    // Nothing to keep and overwriting: the one PUT, naming its source.
    QCOMPARE(store.requests, QList<QByteArray>({"PUT /johnsmith/to/b%20c"}));
    QVERIFY(store.heads.first().contains("\r\nx-amz-copy-source: /johnsmith/a/b%20c\r\n"));
    QVERIFY(store.heads.first().contains("\r\nx-amz-metadata-directive: COPY\r\n"));
    QCOMPARE(copy->copiedFile().isNull(), !message.isEmpty());
    if (!message.isEmpty())
        return;
    QCOMPARE(copy->copiedFile()->path(), QStringLiteral("to/b c"));
    QCOMPARE(copy->copiedFile()->size(), 7);
    QCOMPARE(copy->copiedFile()->md5sum().toHex(), QByteArray("9b2cf535f27731c974343645a3985328"));
    QCOMPARE(copy->copiedFile()->lastModified().toUTC(), QDateTime(QDate(2009, 10, 12), QTime(17, 50, 30), Qt::UTC));
}

// The replaced object's own fields stay; the fields that describe the
// content come from the source.
void TestStoreOperations::copyKeepsTargetMetadata()
{
    const QByteArray result = "<CopyObjectResult><ETag>\"00\"</ETag></CopyObjectResult>";
    FakeStore store({answer(200, QByteArray(), "x-amz-meta-colour: red\r\nx-amz-meta-brindlebox-etag: c291cmNl\r\n"),
                     answer(200, QByteArray(), "x-amz-meta-keeper: bob\r\nx-amz-meta-brindlebox-etag: b2xk\r\n"),
                     answer(200, result)});
    const QSharedPointer<AbstractBucket> bucket = loopbackBucket(store.port());
    auto* copy = new CopyWSFileToWSOperation(nullptr, fileIn(bucket, QStringLiteral("k")), bucket,
                                             QStringLiteral("t"), false,
                                             MetadataDirective(MetadataDirective::CopyDirective, Metadata()),
                                             OverwriteMode::KeepMetadata, TransferSettings());
    const Run run(copy, BrindleLib::OverwriteAlways);
    QVERIFY(run.finished);
    QVERIFY(run.error().isNull());
    QCOMPARE(store.requests, QList<QByteArray>({"HEAD /johnsmith/k", "HEAD /johnsmith/t", "PUT /johnsmith/t"}));
    const QByteArray put = store.heads.last();
    QVERIFY(put.contains("\r\nx-amz-metadata-directive: REPLACE\r\n"));
    QVERIFY(put.contains("\r\nx-amz-meta-keeper: bob\r\n"));
    QVERIFY(put.contains("\r\nx-amz-meta-brindlebox-etag: c291cmNl\r\n"));
    QVERIFY(!put.contains("x-amz-meta-colour"));
    QVERIFY(!put.contains("b2xk"));
}

QTEST_GUILESS_MAIN(TestStoreOperations)
#include "tst_storeoperations.moc"
