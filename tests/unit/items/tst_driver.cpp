#include <QTemporaryDir>
#include <QtTest>

#include "items/abstractbucket.h"
#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/drive.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"

class TestDriver : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void providerFromDomain_data();
    void providerFromDomain();
    void createEndpointByFamily();
    void urlFromDisplayPath_data();
    void urlFromDisplayPath();
    void explicitPort_data();
    void explicitPort();
    void normalizeFolder_data();
    void normalizeFolder();
    void existingPathsResolve_data();
    void existingPathsResolve();
    void missingPathFails();
    void pathStartsFromRootDrive();
    void otherSchemesGiveNothing();
    void makeUrl_data();
    void makeUrl();
    void cloudPathsResolve_data();
    void cloudPathsResolve();
    void versionQueryMakesOldVersion();
    void cloudPathNeedsCloudRoot();
    void factoriesPickFamily();
    void createFileTurnsDateLocal();

private:
    QList<QSharedPointer<AbstractFolder>> roots() const;

    QTemporaryDir m_dir;
};

void TestDriver::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("a/b c")));
    QFile file(m_dir.filePath(QStringLiteral("a/b c/f.txt")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("x");
}

QList<QSharedPointer<AbstractFolder>> TestDriver::roots() const
{
    const auto computer = QSharedPointer<MyComputer>::create();
    // A mount point listed before the root: it must not be the start.
    auto mount = QSharedPointer<Drive>::create(QLatin1Char('/'), m_dir.path(), computer);
    mount->setShortcut(true);
    return {mount, QSharedPointer<Drive>::create(QLatin1Char('/'), QStringLiteral("/"), computer)};
}

void TestDriver::providerFromDomain_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("provider");
    QTest::newRow("amazon") << "s3.amazonaws.com" << 0;
    QTest::newRow("amazon bucket host") << "bucket.s3.amazonaws.com" << 0;
    QTest::newRow("suffix in capitals") << "BUCKET.S3.AMAZONAWS.COM" << 0;
    // The exact comparison is case-sensitive and the suffix needs its dot.
    QTest::newRow("host in capitals") << "S3.AMAZONAWS.COM" << 7;
    QTest::newRow("no dot before host") << "evils3.amazonaws.com" << 7;
    QTest::newRow("google") << "storage.googleapis.com" << 1;
    QTest::newRow("google bucket host") << "b.storage.googleapis.com" << 1;
    QTest::newRow("cloudian") << "s3.cloudian.com" << 3;
    QTest::newRow("nifty") << "ncss.nifty.com" << 4;
    QTest::newRow("greenqloud") << "s.greenqloud.com" << 6;
    QTest::newRow("loopback") << "127.0.0.1" << 7;
    QTest::newRow("placeholder") << "s3.example.com" << 7;
    QTest::newRow("empty") << "" << 7;
}

void TestDriver::providerFromDomain()
{
    QFETCH(QString, host);
    QFETCH(int, provider);
    QCOMPARE(int(Driver::providerFromDomain(host)), provider);
}

void TestDriver::createEndpointByFamily()
{
    const auto gs = Driver::createEndpoint(QStringLiteral("h"), AbstractFS::GSFileSystem);
    QCOMPARE(gs->fileSystemType(), AbstractFS::GSFileSystem);
    QCOMPARE(gs->hostName(), QStringLiteral("h"));
    QCOMPARE(Driver::createEndpoint(QStringLiteral("h"), AbstractFS::LocalFileSystem)
                 ->fileSystemType(),
             AbstractFS::S3FileSystem);
    const auto standard = Driver::standardEndpoints();
    QCOMPARE(standard.size(), 2);
    QCOMPARE(standard.at(0)->fileSystemType(), AbstractFS::S3FileSystem);
    QCOMPARE(standard.at(1)->fileSystemType(), AbstractFS::GSFileSystem);
}

void TestDriver::urlFromDisplayPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("endpoint");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("url");
    QTest::newRow("dns bucket") << "s3://mybucket/dir/" << "" << 0
                                << "http://mybucket.s3.amazonaws.com/dir/";
    QTest::newRow("capital scheme and bucket") << "S3://Bucket/dir/" << "" << 0
                                               << "http://s3.amazonaws.com/Bucket/dir/";
    QTest::newRow("underscore bucket") << "s3://my_bucket/a/b/" << "h.localhost" << 0
                                       << "http://h.localhost/my_bucket/a/b/";
    QTest::newRow("bucket alone") << "s3://bucket/" << "" << 0
                                  << "http://bucket.s3.amazonaws.com/";
    QTest::newRow("bucket without slash") << "s3://bucket" << "" << 0
                                          << "http://bucket.s3.amazonaws.com";
    QTest::newRow("google default host") << "gs://b12/x" << "" << 0
                                         << "http://b12.storage.googleapis.com/x";
    QTest::newRow("given endpoint") << "gs://b12/x" << "g.localhost" << 0
                                    << "http://b12.g.localhost/x";
    QTest::newRow("port argument") << "s3://bucket/x" << "127.0.0.1" << 9000
                                   << "http://bucket.127.0.0.1:9000/x";
    QTest::newRow("port in path wins") << "s3://bucket:8080/x" << "" << 9000
                                       << "http://bucket.s3.amazonaws.com:8080/x";
    QTest::newRow("port in path, path style") << "s3://B:8080/x" << "127.0.0.1" << 0
                                              << "http://127.0.0.1:8080/B/x";
    QTest::newRow("blank in key") << "s3://bucket/my dir/" << "" << 0
                                  << "http://bucket.s3.amazonaws.com/my%20dir/";
    QTest::newRow("http taken as is") << "https://h.localhost:444/b/k" << "" << 0
                                      << "https://h.localhost:444/b/k";
    QTest::newRow("local") << " /tmp/x y/ " << "" << 80 << "file:///tmp/x%20y/";
    QTest::newRow("empty") << "  " << "" << 0 << "";
}

void TestDriver::urlFromDisplayPath()
{
    QFETCH(QString, path);
    QFETCH(QString, endpoint);
    QFETCH(int, port);
    QFETCH(QString, url);
    QCOMPARE(QString::fromLatin1(Driver::urlFromDisplayPath(path, endpoint, port).toEncoded()),
             url);
}

void TestDriver::explicitPort_data()
{
    QTest::addColumn<int>("option");
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<int>("port");
    QTest::newRow("none") << 0 << QStringList{"/tmp/a/", "s3://b/x/"} << 0;
    QTest::newRow("option") << 9000 << QStringList{"/tmp/a/", "s3://b/x/"} << 9000;
    QTest::newRow("destination path") << 9000 << QStringList{"/tmp/a/", "s3://b:8080/x/"}
                                      << 8080;
    QTest::newRow("source path first") << 0 << QStringList{"gs://b:81/", "s3://b:8080/x/"} << 81;
    QTest::newRow("local colon ignored") << 0 << QStringList{"/tmp/a:1/", "s3://b/"} << 0;
}

void TestDriver::explicitPort()
{
    QFETCH(int, option);
    QFETCH(QStringList, paths);
    QFETCH(int, port);
    QCOMPARE(Driver::explicitPort(option, paths), port);
}

void TestDriver::normalizeFolder_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("normalized");
    QTest::newRow("cloud without slash") << "s3://a/b" << "s3://a/b/";
    QTest::newRow("cloud with slash") << "s3://a/b/" << "s3://a/b/";
    QTest::newRow("bucket alone") << "s3://bucket" << "s3://bucket/";
    QTest::newRow("scheme in capitals") << "  GS://a " << "GS://a/";
    QTest::newRow("https") << "https://h/b" << "https://h/b/";
    QTest::newRow("local") << " /home/robin " << "/home/robin/";
    QTest::newRow("local with slash") << "/home/robin/" << "/home/robin/";
    QTest::newRow("relative") << "docs" << "docs/";
    QTest::newRow("empty") << "   " << "";
}

void TestDriver::normalizeFolder()
{
    QFETCH(QString, path);
    QFETCH(QString, normalized);
    QCOMPARE(Driver::normalizeFolder(path), normalized);
}

void TestDriver::existingPathsResolve_data()
{
    QTest::addColumn<QString>("relative");
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("parentName");
    QTest::newRow("folder") << "a/b c/" << int(AbstractItem::LocalFolderItem) << "b c" << "a";
    QTest::newRow("folder without slash") << "a" << int(AbstractItem::LocalFolderItem) << "a" << "";
    QTest::newRow("file") << "a/b c/f.txt" << int(AbstractItem::LocalFileItem) << "f.txt" << "b c";
    QTest::newRow("dot dot") << "a/b c/../b c/f.txt" << int(AbstractItem::LocalFileItem) << "f.txt"
                             << "b c";
}

void TestDriver::existingPathsResolve()
{
    QFETCH(QString, relative);
    QFETCH(int, type);
    QFETCH(QString, name);
    QFETCH(QString, parentName);
    const QString typed = m_dir.path() + QLatin1Char('/') + relative;
    const QUrl url = QUrl::fromLocalFile(Driver::normalizeFolder(typed).chopped(
        type == AbstractItem::LocalFileItem ? 1 : 0));
    const QSharedPointer<AbstractItem> item = Driver::itemFromUrl(url, roots(), {});
    QVERIFY(item);
    QCOMPARE(int(item->itemType()), type);
    QCOMPARE(item->displayName(), name);
    const QString expected = QDir::cleanPath(typed);
    QCOMPARE(item->displayPath(), expected);

    // The chain above is built down from the root drive, one folder a level.
    QSharedPointer<AbstractFolder> root;
    QSharedPointer<AbstractFolder> parent;
    if (type == AbstractItem::LocalFileItem) {
        parent = item.staticCast<LocalFile>()->parent();
        root = item.staticCast<LocalFile>()->rootItem();
    } else {
        parent = item.staticCast<LocalFolder>()->parent();
        root = item.staticCast<LocalFolder>()->rootItem();
    }
    QCOMPARE(root->path(), QStringLiteral("/"));
    if (!parentName.isEmpty())
        QCOMPARE(parent->name(), parentName);
}

void TestDriver::missingPathFails()
{
    const QUrl url = QUrl::fromLocalFile(m_dir.filePath(QStringLiteral("a/nothing/")));
    QVERIFY(!Driver::itemFromUrl(url, roots(), {}));
    QVERIFY(!Driver::itemFromLocalUrl(QUrl(), roots()));
}

void TestDriver::pathStartsFromRootDrive()
{
    const QUrl url = QUrl::fromLocalFile(m_dir.filePath(QStringLiteral("a")));
    // Only a mount point among the roots: no start.
    QVERIFY(!Driver::itemFromLocalUrl(url, roots().mid(0, 1)));
    const QSharedPointer<AbstractItem> root =
        Driver::itemFromLocalUrl(QUrl::fromLocalFile(QStringLiteral("/")), roots());
    QVERIFY(root);
    QCOMPARE(root->itemType(), AbstractItem::DriveItem);
    QCOMPARE(root->displayPath(), QStringLiteral("/"));
}

void TestDriver::otherSchemesGiveNothing()
{
    QVERIFY(!Driver::itemFromUrl(QUrl(QStringLiteral("ftp://h/a/")), roots(), {}));
    QVERIFY(!Driver::itemFromUrl(QUrl(QStringLiteral("internal_my_computer://")), roots(), {}));
}

void TestDriver::makeUrl_data()
{
    QTest::addColumn<QString>("bucket");
    QTest::addColumn<bool>("https");
    QTest::addColumn<QString>("url");
    QTest::newRow("dns name") << "mybucket" << false << "http://mybucket.s3.localhost/";
    QTest::newRow("capital") << "MyBucket" << true << "https://s3.localhost/MyBucket/";
    QTest::newRow("underscore") << "my_bucket" << false << "http://s3.localhost/my_bucket/";
}

void TestDriver::makeUrl()
{
    QFETCH(QString, bucket);
    QFETCH(bool, https);
    QFETCH(QString, url);
    const auto endpoint = Driver::createEndpoint(QStringLiteral("s3.localhost"),
                                                 AbstractFS::S3FileSystem);
    const auto protocol = https ? BrindleLib::ProtocolHttps : BrindleLib::ProtocolHttp;
    QCOMPARE(QString::fromLatin1(Driver::makeUrl(bucket, protocol, endpoint).toEncoded()), url);
}

namespace {

// An account on host (the provider's default when empty) with an explicit
// port, and its buckets as the account listing would give them.
struct CloudSide
{
    QSharedPointer<AbstractAccount> account;
    QList<QSharedPointer<AbstractFolder>> roots;
};

CloudSide cloudSide(AbstractAccount::Provider provider, const QString& host, int port,
                    const QStringList& buckets)
{
    CloudSide side;
    side.account = Driver::createAccount(provider, Id(QStringLiteral("a")));
    if (!host.isEmpty())
        side.account->setEndpoint(
            Driver::createEndpoint(host, Driver::fileSystemFromProvider(provider)));
    side.account->setProtocol(BrindleLib::ProtocolHttps);
    side.account->setExplicitPort(port);
    const QDateTime created(QDate(2011, 1, 1), QTime(0, 0), Qt::UTC);
    for (const QString& name : buckets)
        side.roots.append(Driver::createBucketItem(name, created, side.account));
    return side;
}

} // namespace

void TestDriver::cloudPathsResolve_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("bucketName");
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("ownBucket");

    const int bucket = AbstractItem::BucketItem;
    const int folder = AbstractItem::CloudFolderItem;
    const int file = AbstractItem::CloudFileItem;
    QTest::newRow("bucket") << 0 << "" << 0 << "s3://mybucket/" << bucket << "mybucket" << ""
                            << true;
    QTest::newRow("bucket without slash") << 0 << "" << 0 << "s3://mybucket" << bucket
                                          << "mybucket" << "" << true;
    QTest::newRow("deep folder") << 0 << "" << 0 << "s3://mybucket/a/b/" << folder << "mybucket"
                                 << "a/b/" << true;
    QTest::newRow("file") << 0 << "" << 0 << "s3://mybucket/a/f.txt" << file << "mybucket"
                          << "a/f.txt" << true;
    QTest::newRow("top file") << 0 << "" << 0 << "s3://mybucket/f.txt" << file << "mybucket"
                              << "f.txt" << true;
    QTest::newRow("path style") << 0 << "" << 0 << "S3://My_Bucket/dir/" << folder << "My_Bucket"
                                << "dir/" << true;
    QTest::newRow("foreign bucket") << 0 << "" << 0 << "s3://elsewhere/x/" << folder
                                    << "elsewhere" << "x/" << false;
    // The key keeps the blank percent-encoded, as the URL has it.
    QTest::newRow("blank in key") << 0 << "" << 0 << "s3://mybucket/my dir/" << folder
                                  << "mybucket" << "my%20dir/" << true;
    QTest::newRow("google") << 1 << "" << 0 << "gs://gbucket/d/" << folder << "gbucket" << "d/"
                            << true;
    QTest::newRow("port in path") << 7 << "s3.localhost" << 8080 << "s3://mybucket:8080/x/"
                                  << folder << "mybucket" << "x/" << true;
    QTest::newRow("port only in path") << 7 << "s3.localhost" << 0 << "s3://mybucket:8080/x/"
                                       << folder << "mybucket" << "x/" << false;
    QTest::newRow("second path-style bucket") << 7 << "127.0.0.1" << 9000
                                              << "s3://Other_Bucket:9000/k" << file
                                              << "Other_Bucket" << "k" << true;
    QTest::newRow("host of no endpoint") << 7 << "s3.localhost" << 0
                                         << "http://mybucket.elsewhere.localhost/k" << file
                                         << "mybucket" << "k" << false;
}

void TestDriver::cloudPathsResolve()
{
    QFETCH(int, provider);
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(QString, path);
    QFETCH(int, type);
    QFETCH(QString, bucketName);
    QFETCH(QString, key);
    QFETCH(bool, ownBucket);

    const QStringList names = provider == AbstractAccount::GoogleStorageProvider
                                  ? QStringList{"gbucket"}
                                  : QStringList{"My_Bucket", "mybucket", "Other_Bucket"};
    const CloudSide side = cloudSide(AbstractAccount::Provider(provider), host, port, names);
    const QSharedPointer<Endpoint> endpoint = side.account->endpoint();
    const QUrl url = Driver::urlFromDisplayPath(path, endpoint->hostName(), port);
    const QSharedPointer<AbstractItem> item =
        Driver::itemFromUrl(url, roots() + side.roots, {endpoint});
    QVERIFY(item);
    QCOMPARE(int(item->itemType()), type);
    QCOMPARE(item->fileSystemType(), side.account->fileSystemType());

    QSharedPointer<AbstractFolder> root;
    QString itemKey;
    if (type == AbstractItem::CloudFileItem) {
        const auto cloudFile = item.staticCast<AbstractCloudFile>();
        root = cloudFile->rootItem();
        itemKey = cloudFile->path();
        QVERIFY(cloudFile->isLatest());
    } else {
        const auto folder = item.staticCast<AbstractFolder>();
        root = type == AbstractItem::BucketItem ? folder : folder->rootItem();
        itemKey = folder->path();
        // A folder hangs directly below its bucket, however deep its key.
        if (type == AbstractItem::CloudFolderItem)
            QCOMPARE(item.staticCast<AbstractWSFolder>()->parent()->itemType(),
                     AbstractItem::BucketItem);
    }
    QCOMPARE(itemKey, key);
    const auto bucket = root.staticCast<AbstractBucket>();
    QCOMPARE(bucket->bucketName(), bucketName);
    QCOMPARE(bucket->creationDate().isValid(), ownBucket);
    QCOMPARE(bucket->account(), side.account);
    // Every request for the item goes to the account's port.
    if (port != 0)
        QCOMPARE(item->url().port(), port);
}

void TestDriver::versionQueryMakesOldVersion()
{
    const CloudSide side = cloudSide(AbstractAccount::AmazonS3Provider, QString(), 0, {"mybucket"});
    const QUrl url(QStringLiteral("https://mybucket.s3.amazonaws.com/d/k?versionId=v%2B1"));
    const auto item = Driver::itemFromUrl(url, side.roots, {side.account->endpoint()})
                          .staticCast<AbstractCloudFile>();
    QVERIFY(item);
    QVERIFY(!item->isLatest());
    QCOMPARE(item->versionId(), QByteArray("v+1"));
    QCOMPARE(item->folder()->path(), QStringLiteral("d/"));
}

void TestDriver::cloudPathNeedsCloudRoot()
{
    const CloudSide side = cloudSide(AbstractAccount::AmazonS3Provider, QString(), 0, {});
    const QUrl url = Driver::urlFromDisplayPath(QStringLiteral("s3://mybucket/x/"), QString(), 0);
    QVERIFY(!Driver::itemFromUrl(url, roots(), {side.account->endpoint()}));
    QVERIFY(!Driver::itemFromWSUrl(QUrl(), roots(), {side.account->endpoint()}));
}

void TestDriver::factoriesPickFamily()
{
    const CloudSide google = cloudSide(AbstractAccount::GoogleStorageProvider, QString(), 0, {"g"});
    const QSharedPointer<AbstractFolder> gsRoot = google.roots.first();
    QCOMPARE(gsRoot->fileSystemType(), AbstractFS::GSFileSystem);
    const QSharedPointer<AbstractFolder> gsChild =
        Driver::createChildFolder(gsRoot, QStringLiteral("d"));
    QCOMPARE(gsChild->fileSystemType(), AbstractFS::GSFileSystem);
    QCOMPARE(gsChild->path(), QStringLiteral("d/"));
    QCOMPARE(Driver::createChildFile(gsChild, QStringLiteral("f"))->path(),
             QStringLiteral("d/f"));

    const QSharedPointer<AbstractFolder> drive = roots().last();
    const QSharedPointer<AbstractFolder> local = Driver::createChildFolder(drive, QStringLiteral("tmp"));
    QCOMPARE(local->itemType(), AbstractItem::LocalFolderItem);
    QCOMPARE(Driver::createChildFile(local, QStringLiteral("f"))->path(), QStringLiteral("/tmp/f"));

    QVERIFY(!Driver::createBucketItem(QStringLiteral("b"), QDateTime(),
                                      QSharedPointer<AbstractAccount>()));
    QVERIFY(!Driver::createChildFolder(QSharedPointer<AbstractFolder>(), QStringLiteral("x")));
}

void TestDriver::createFileTurnsDateLocal()
{
    const CloudSide side = cloudSide(AbstractAccount::AmazonS3Provider, QString(), 0, {"b12"});
    const QDateTime utc(QDate(2012, 6, 1), QTime(12, 0), Qt::UTC);
    const auto item = Driver::createFile(QStringLiteral("k"), 5, utc, QByteArray(16, '\1'),
                                         side.roots.first().staticCast<AbstractS3Folder>(), true,
                                         QByteArray(), QSharedPointer<AbstractUser>(),
                                         StorageDirective::ReducedRedundancyStorage);
    QCOMPARE(item->lastModified().timeSpec(), Qt::LocalTime);
    QCOMPARE(item->lastModified(), utc);
    QCOMPARE(item->storageClass(), StorageDirective::ReducedRedundancyStorage);
    QCOMPARE(item->size(), qint64(5));
    QVERIFY(!Driver::createFile(QStringLiteral("k"), 5, utc, QByteArray(),
                                QSharedPointer<AbstractS3Folder>(), true, QByteArray(),
                                QSharedPointer<AbstractUser>(), StorageDirective::StandardStorage));
}

QTEST_GUILESS_MAIN(TestDriver)
#include "tst_driver.moc"
