#include <QtTest>

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
    void initTestCase() { qputenv("QUORLE_TIME_REFERENCE", "127.0.0.1:1"); }
    void listingQuery_data();
    void listingQuery();
    void answers_data();
    void answers();
    void plainContent_data();
    void plainContent();
    void copySource();
};

namespace {

QByteArray answer(int status, const QByteArray& body = QByteArray(), const QByteArray& extra = QByteArray())
{
    return httpAnswer(status, "Reason", body, "Content-Type: application/xml\r\n" + extra);
}

QByteArray listPage(const QByteArray& contents)
{
    return answer(200, "<ListBucketResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">" + contents
                           + "</ListBucketResult>");
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

void TestStoreOperations::listingQuery_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("mode"); // a listing mode, 2 for versions, 3 for one file
    QTest::addColumn<QString>("marker");
    QTest::addColumn<QByteArray>("query");

    QTest::newRow("bucket keeps an empty prefix") << "" << 0 << "" << QByteArray("prefix=&delimiter=%2F");
    QTest::newRow("subtree sends no delimiter") << "a b/" << 1 << "a b/c+d"
                                                << QByteArray("prefix=a%20b/&marker=a%20b%2Fc%2Bd");
    QTest::newRow("file mode starts with &") << "dir/x" << 3 << "" << QByteArray("&prefix=dir/x&delimiter=%2F");
    QTest::newRow("versions")
        << "a/" << 2 << "a/k"
        << QByteArray("versions&prefix=a/&delimiter=%2F&key-marker=a%2Fk&version-id-marker=v%2B1");
}

void TestStoreOperations::listingQuery()
{
    QFETCH(QString, key);
    QFETCH(int, mode);
    QFETCH(QString, marker);
    QFETCH(QByteArray, query);

    const QSharedPointer<AbstractBucket> bucket = loopbackBucket(9);
    QSharedPointer<AbstractS3Folder> folder = bucket;
    if (!key.isEmpty() && mode != 3)
        folder = Driver::createFolder(key, bucket, QByteArray(), false);
    QScopedPointer<AbstractWSListAtomicOperation> op;
    if (mode == 2)
        op.reset(new ListS3VersionsAtomicOperation(nullptr, bucket, folder, marker, "v+1", QString(),
                                                   BrindleLib::ListOneLevel, Filter()));
    else if (mode == 3)
        op.reset(new WSListAtomicOperation(nullptr, bucket, fileIn(bucket, key), marker, QString()));
    else
        op.reset(new WSListAtomicOperation(nullptr, bucket, folder, marker, QString(),
                                           BrindleLib::EntryListMode(mode), Filter()));

    const QUrl url = op->url();
    QCOMPARE(url.path(QUrl::FullyEncoded), QStringLiteral("/johnsmith/"));
    QCOMPARE(url.query(QUrl::FullyEncoded).toLatin1(), query);
    // The listing's parameters are never signed; the versions sub-resource is.
    QCOMPARE(op->canonicalizedResource().toString(QUrl::FullyEncoded),
             mode == 2 ? QStringLiteral("/johnsmith/?versions") : QStringLiteral("/johnsmith/"));
    QCOMPARE(QScopedPointer<AbstractWSListAtomicOperation>(op->clone(nullptr))->url(), url);
}

void TestStoreOperations::answers_data()
{
    QTest::addColumn<QString>("op"); // "create!" fails if the folder is there
    QTest::addColumn<QList<QByteArray>>("replies");
    QTest::addColumn<QList<QByteArray>>("requests");
    QTest::addColumn<QString>("outcome"); // what it found or made, and " ! " and the error's code or message

    using Replies = QList<QByteArray>;
    const QList<QByteArray> head = {"HEAD /johnsmith/k"};
    const QList<QByteArray> deletes = {"DELETE /johnsmith/a/", "DELETE /johnsmith/a/b%20c"};
    const QList<QByteArray> create = {"HEAD /johnsmith/top/new/", "PUT /johnsmith/top/new/"};
    const QList<QByteArray> exists = {"GET /johnsmith/?prefix=top/&max-keys=1&delimiter=%2F"};
    const QByteArray keysBelow = "<IsTruncated>true</IsTruncated><Contents><Key>top/a/b</Key><Size>3</Size></Contents>";
    QTest::newRow("head found") << "head" << Replies{answer(200, "0123456789")} << head << "found 10";
    QTest::newRow("head: 403 is no object") << "head" << Replies{answer(403)} << head << "missing";
    QTest::newRow("head: 404 with a delete marker")
        << "head" << Replies{answer(404, "", "x-amz-delete-marker: true\r\nx-amz-version-id: v7\r\n")} << head
        << "delete marker v7";
    // A HEAD answer has no body to hold an error document; sent again, signed anew.
    QTest::newRow("head: 400 is an error") << "head" << Replies{answer(400)} << head + head << "missing ! 400";
    QTest::newRow("delete: 204") << "delete" << Replies{answer(204)} << deletes << "";
    QTest::newRow("delete: 200 is not done") << "delete" << Replies{answer(200)} << deletes << " ! 200";
    QTest::newRow("create missing: put") << "create!" << Replies{answer(404), answer(200)} << create << "top/new/";
    QTest::newRow("create there: no put") << "create" << Replies{answer(200)} << create.mid(0, 1) << "top/new/";
    QTest::newRow("create there, exclusive") << "create!" << Replies{answer(200)} << create.mid(0, 1)
                                             << "top/new/ ! Folder 'new' already exists";
    QTest::newRow("exists: only keys below") << "exists" << Replies{listPage(keysBelow)} << exists << "exists";
    QTest::newRow("exists: nothing") << "exists" << Replies{listPage("")} << exists << "missing";
    QTest::newRow("exists: no bucket") << "exists" << Replies{answer(404, "<Error><Code>NoSuchBucket</Code></Error>")}
                                       << exists << "missing";
    // Nothing to keep and overwriting: the one PUT, naming its source.
    const QByteArray copied = "<CopyObjectResult><ETag>\"9b2cf535f27731c974343645a3985328\"</ETag></CopyObjectResult>";
    const QByteArray length = "Content-Length: " + QByteArray::number(copied.size()) + "\r\n\r\n";
    const QList<QByteArray> put = {"PUT /johnsmith/to/b%20c"};
    const QByteArray html = "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=UTF-8\r\n";
    QTest::newRow("copy: result labelled HTML") << "copy" << Replies{html + length + copied} << put
                                                << "/johnsmith/a/b%20c COPY -> to/b c";
    QTest::newRow("copy: no type") << "copy" << Replies{"HTTP/1.1 200 OK\r\n" + length + copied} << put
                                   << "/johnsmith/a/b%20c COPY ! Invalid response";
    QTest::newRow("copy: error document in a 200")
        << "copy" << Replies{answer(200, "<Error><Code>AccessDenied</Code><Message>no</Message></Error>")} << put
        << "/johnsmith/a/b%20c COPY ! AccessDenied";
    // The replaced object's own fields stay; those that describe the content
    // come from the source.
    QTest::newRow("copy keeping the target's fields")
        << "copy, keeping"
        << Replies{answer(200, "", "x-amz-meta-colour: red\r\nx-amz-meta-brindlebox-etag: c291cmNl\r\n"),
                   answer(200, "", "x-amz-meta-keeper: bob\r\nx-amz-meta-brindlebox-etag: b2xk\r\n"),
                   answer(200, copied)}
        << QList<QByteArray>{"HEAD /johnsmith/a/b%20c", "HEAD /johnsmith/to/b%20c", put.first()}
        << "/johnsmith/a/b%20c REPLACE x-amz-meta-brindlebox-etag: c291cmNl x-amz-meta-keeper: bob -> to/b c";
}

// Head, delete, folder creation and folder check: what each sends and how
// it reads the store's answer.
void TestStoreOperations::answers()
{
    QFETCH(QString, op);
    QFETCH(QList<QByteArray>, replies);
    QFETCH(QList<QByteArray>, requests);
    QFETCH(QString, outcome);

    FakeStore store(replies);
    const QSharedPointer<AbstractBucket> bucket = loopbackBucket(store.port());
    const QSharedPointer<AbstractCloudFile> file = fileIn(bucket, op == "head" ? "k" : "a/b c");
    const auto top = Driver::createFolder(op == "delete" ? "a/" : "top/", bucket, QByteArray(), false);
    HeadWSFileOperation* head = nullptr;
    CreateS3FolderOperation* create = nullptr;
    S3ContainerExistsOperation* exists = nullptr;
    CopyWSFileToWSOperation* copy = nullptr;
    QList<AbstractOperation*> ops;
    if (op == "head")
        ops << (head = new HeadWSFileOperation(nullptr, file));
    else if (op == "exists")
        ops << (exists = new S3ContainerExistsOperation(nullptr, top));
    else if (op == "delete")
        ops << new DeleteCloudFileOperation(nullptr, file) << new DeleteS3EmptyFolderOperation(nullptr, top);
    else if (op.startsWith("create"))
        ops << (create = new CreateS3FolderOperation(nullptr, top, "new", nullptr, op == "create!"));
    else
        ops << (copy = new CopyWSFileToWSOperation(
                    nullptr, file, Driver::createFolder("to/", bucket, QByteArray(), false), "b c", false,
                    MetadataDirective(MetadataDirective::CopyDirective, Metadata()),
                    op == "copy" ? OverwriteMode() : OverwriteMode(OverwriteMode::KeepMetadata), TransferSettings()));
    const Run run(ops, copy ? BrindleLib::OverwriteAlways : BrindleLib::OverwriteAsk);
    QVERIFY(run.finished);
    std::sort(store.requests.begin(), store.requests.end());
    QCOMPARE(store.requests, requests);
    QString got;
    if (head && head->file)
        got = head->file->deleteMarker().isNull() ? "found " + QString::number(head->file->size())
                                                  : "delete marker " + head->file->versionId();
    else if (head || exists)
        got = exists && exists->exists ? "exists" : "missing";
    else if (create)
        got = create->createdFolder ? create->createdFolder->path() : QString();
    else if (copy) {
        // The source, the directive and the user fields that the PUT sends.
        const QByteArray put = store.heads.last();
        got = headerValue(put, "x-amz-copy-source") + ' ' + headerValue(put, "x-amz-metadata-directive");
        for (const QByteArray& line : put.split('\n'))
            got += line.startsWith("x-amz-meta-") ? ' ' + line.trimmed() : QByteArray();
        got += copy->copiedFile() ? " -> " + copy->copiedFile()->path() : QString();
    }
    const QString error = run.error().code().isEmpty() ? run.error().message() : run.error().code();
    QCOMPARE(error.isEmpty() ? got : got + " ! " + error, outcome);
    // The item asked about keeps what the listing said; a folder object is empty.
    QCOMPARE(file->size(), 3);
    if (requests.value(1).startsWith("PUT"))
        QVERIFY(store.heads.last().contains("Content-Length: 0\r\n"));
}

void TestStoreOperations::plainContent_data()
{
    QTest::addColumn<QByteArray>("storeMd5");
    QTest::addColumn<QByteArray>("encryption");
    QTest::addColumn<QByteArray>("contentEncoding");
    QTest::addColumn<QByteArray>("length");
    QTest::addColumn<QByteArray>("expected"); // size and MD5, or "no" when not comparable

    const QByteArray stored(16, '\xaa');
    const QByteArray multipart = QByteArray::fromHex("0123456789abcdef0123456789abcdef2");
    using B = QByteArray;
    QTest::newRow("no metadata of ours: the store's own") << stored << B() << B() << B("7") << "3 " + stored;
    QTest::newRow("multipart etag: the plain size and MD5") << multipart << B() << B() << B("7") << B("7 plain-md5");
    QTest::newRow("encrypted without a length") << stored << B("gzip; aes-256-cbc; 00") << B() << B()
                                                << B("-1 plain-md5");
    QTest::newRow("settings without ';'") << stored << B("aes-256-cbc") << B() << B("7") << B("no");
    QTest::newRow("ours and gzip-encoded") << stored << B("") << B("gzip") << B("7") << B("no");
    QTest::newRow("foreign encoding") << stored << B() << B("br") << B("7") << B("7 plain-md5");
}

void TestStoreOperations::plainContent()
{
    QFETCH(QByteArray, storeMd5);
    QFETCH(QByteArray, encryption);
    QFETCH(QByteArray, contentEncoding);
    QFETCH(QByteArray, length);
    QFETCH(QByteArray, expected);

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
    qint64 size = 0;
    QByteArray md5;
    const bool comparable = CompareFileContentForSyncOperation::plainContent(metadata, file, &size, &md5);
    QCOMPARE(comparable ? QByteArray::number(size) + ' ' + md5 : QByteArray("no"), expected);
}

// The source header names the bucket as the host style would; a name that
// can't be a host name goes with a leading "/", and a version keeps its query.
void TestStoreOperations::copySource()
{
    QSharedPointer<AbstractAccount> account = Driver::createAccount(AbstractAccount::AmazonS3Provider, Id());
    const auto copySource = [&](const QString& bucket, const QByteArray& version) {
        return CopyWSFileToWSAtomicOperation::copySource(
            Driver::createFile("d/a b+c", 3, QDateTime(), QByteArray(),
                               Driver::createBucketItem(bucket, QDateTime(), account), version.isEmpty(), version,
                               {}, StorageDirective::StandardStorage));
    };
    QCOMPARE(copySource("My_Bucket", ""), QByteArray("/My_Bucket/d/a%20b%2Bc"));
    QCOMPARE(copySource("mybucket", "3/L4kq+t="), QByteArray("mybucket/d/a%20b%2Bc?versionId=3%2FL4kq%2Bt%3D"));
}

QTEST_GUILESS_MAIN(TestStoreOperations)
#include "tst_storeoperations.moc"
