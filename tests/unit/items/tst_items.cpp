#include <QTemporaryDir>
#include <QtTest>

#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/amazons3account.h"
#include "items/drive.h"
#include "items/driver.h"
#include "items/gsbucket.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"
#include "items/s3bucket.h"
#include "items/s3file.h"
#include "items/s3folder.h"
#include "items/url.h"

// Store URLs and display paths, and the items that typed paths resolve to.
class TestItems : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void isDnsCompatible_data();
    void isDnsCompatible();
    void providerFromDomain_data();
    void providerFromDomain();
    void urlFromDisplayPath_data();
    void urlFromDisplayPath();
    void explicitPort_data();
    void explicitPort();
    void normalizeFolder_data();
    void normalizeFolder();
    void localPathsResolve_data();
    void localPathsResolve();
    void cloudPathsResolve_data();
    void cloudPathsResolve();
    void versionQueryMakesOldVersion();
    void requestUrl_data();
    void requestUrl();
    void versionQuery();

private:
    QList<QSharedPointer<AbstractFolder>> roots() const;

    QTemporaryDir m_dir;
};

namespace {

// An account of provider on host (the provider's default when empty).
QSharedPointer<AbstractAccount> account(int provider, const QString& host = QString(), bool https = false, int port = 0)
{
    const auto kind = AbstractAccount::Provider(provider);
    QSharedPointer<AbstractAccount> result = Driver::createAccount(kind, Id(QStringLiteral("id")));
    if (!host.isEmpty())
        result->setEndpoint(Driver::createEndpoint(host, Driver::fileSystemFromProvider(kind)));
    result->setProtocol(https ? BrindleLib::ProtocolHttps : BrindleLib::ProtocolHttp);
    result->setExplicitPort(port);
    return result;
}

QSharedPointer<AbstractBucket> bucket(const QSharedPointer<AbstractAccount>& owner,
                                      const QString& name = QStringLiteral("mybucket"))
{
    return Driver::createBucketItem(name, QDateTime(), owner);
}

QSharedPointer<S3File> file(const QSharedPointer<AbstractS3Folder>& parent, const QString& key,
                            bool latest = true, const QByteArray& version = QByteArray())
{
    return QSharedPointer<S3File>::create(key, 3, QDateTime(), QByteArray(), parent, latest,
                                          version, QSharedPointer<AbstractUser>(), StorageDirective::StandardStorage);
}

QString encoded(const QSharedPointer<AbstractItem>& item)
{
    return QString::fromLatin1(item->url().toEncoded());
}

// An account and its buckets as the account listing would give them.
struct CloudSide
{
    QSharedPointer<AbstractAccount> account;
    QList<QSharedPointer<AbstractFolder>> roots;
};

CloudSide cloudSide(int provider, const QString& host, int port, const QStringList& buckets)
{
    CloudSide side{account(provider, host, true, port), {}};
    const QDateTime created(QDate(2011, 1, 1), QTime(0, 0), Qt::UTC);
    for (const QString& name : buckets)
        side.roots.append(Driver::createBucketItem(name, created, side.account));
    return side;
}

} // namespace

void TestItems::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("a/b c")));
    QFile file(m_dir.filePath(QStringLiteral("a/b c/f.txt")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("x");
}

QList<QSharedPointer<AbstractFolder>> TestItems::roots() const
{
    const auto computer = QSharedPointer<MyComputer>::create();
    // A mount point listed before the root: it must not be the start.
    auto mount = QSharedPointer<Drive>::create(QLatin1Char('/'), m_dir.path(), computer);
    mount->setShortcut(true);
    return {mount, QSharedPointer<Drive>::create(QLatin1Char('/'), QStringLiteral("/"), computer)};
}

void TestItems::isDnsCompatible_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("compatible");
    QTest::newRow("two characters") << "ab" << false;
    QTest::newRow("63 characters") << QString(63, QLatin1Char('a')) << true;
    QTest::newRow("64 characters") << QString(64, QLatin1Char('a')) << false;
    QTest::newRow("capital") << "My_Bucket" << false;
    QTest::newRow("non-ascii lower-case") << "b\u00fccket" << false;
    // The first character is checked for U+0001 only.
    QTest::newRow("leading dot") << ".bucket" << true;
    QTest::newRow("leading control") << "\u0001bucket" << false;
    QTest::newRow("trailing dash") << "bucket-" << false;
    QTest::newRow("dash dot") << "a-.b" << false;
    QTest::newRow("ipv4") << "192.168.1.1" << false;
    QTest::newRow("not ipv4: 256") << "256.1.1.1" << true;
}

void TestItems::isDnsCompatible()
{
    QFETCH(QString, name);
    QFETCH(bool, compatible);
    QCOMPARE(Url::isDnsCompatible(name), compatible);
}

void TestItems::providerFromDomain_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("provider");
    QTest::newRow("amazon") << "s3.amazonaws.com" << 0;
    QTest::newRow("suffix in capitals") << "BUCKET.S3.AMAZONAWS.COM" << 0;
    // The exact comparison is case-sensitive and the suffix needs its dot.
    QTest::newRow("host in capitals") << "S3.AMAZONAWS.COM" << 7;
    QTest::newRow("no dot before host") << "evils3.amazonaws.com" << 7;
    QTest::newRow("google") << "storage.googleapis.com" << 1;
}

void TestItems::providerFromDomain()
{
    QFETCH(QString, host);
    QFETCH(int, provider);
    QCOMPARE(int(Driver::providerFromDomain(host)), provider);
}

void TestItems::urlFromDisplayPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("endpoint");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("url");
    QTest::newRow("capital scheme and bucket") << "S3://Bucket/dir/" << "" << 0 << "http://s3.amazonaws.com/Bucket/dir/";
    QTest::newRow("port in path wins") << "s3://bucket:8080/x" << "" << 9000 << "http://bucket.s3.amazonaws.com:8080/x";
    QTest::newRow("port in path, path style") << "s3://B:8080/x" << "127.0.0.1" << 0 << "http://127.0.0.1:8080/B/x";
    QTest::newRow("http taken as is") << "https://h.localhost:444/b/k" << "" << 0 << "https://h.localhost:444/b/k";
    QTest::newRow("local") << " /tmp/x y/ " << "" << 80 << "file:///tmp/x%20y/";
    QTest::newRow("empty") << "  " << "" << 0 << "";
}

void TestItems::urlFromDisplayPath()
{
    QFETCH(QString, path);
    QFETCH(QString, endpoint);
    QFETCH(int, port);
    QFETCH(QString, url);
    QCOMPARE(QString::fromLatin1(Driver::urlFromDisplayPath(path, endpoint, port).toEncoded()), url);
}

void TestItems::explicitPort_data()
{
    QTest::addColumn<int>("option");
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<int>("port");
    QTest::newRow("destination path") << 9000 << QStringList{"/tmp/a/", "s3://b:8080/x/"} << 8080;
    QTest::newRow("source path first") << 0 << QStringList{"gs://b:81/", "s3://b:8080/x/"} << 81;
    QTest::newRow("local colon ignored") << 0 << QStringList{"/tmp/a:1/", "s3://b/"} << 0;
}

void TestItems::explicitPort()
{
    QFETCH(int, option);
    QFETCH(QStringList, paths);
    QFETCH(int, port);
    QCOMPARE(Driver::explicitPort(option, paths), port);
}

void TestItems::normalizeFolder_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("normalized");
    QTest::newRow("cloud without slash") << "s3://a/b" << "s3://a/b/";
    QTest::newRow("scheme in capitals") << "  GS://a " << "GS://a/";
    QTest::newRow("relative") << "docs" << "docs/";
    QTest::newRow("empty") << "   " << "";
}

void TestItems::normalizeFolder()
{
    QFETCH(QString, path);
    QFETCH(QString, normalized);
    QCOMPARE(Driver::normalizeFolder(path), normalized);
}

void TestItems::localPathsResolve_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("type"); // -1: resolves to nothing
    QTest::addColumn<QString>("parentName");
    const int folder = AbstractItem::LocalFolderItem;
    QTest::newRow("folder without slash") << "a" << folder << "";
    QTest::newRow("climbing file") << "a/b c/../b c/f.txt" << int(AbstractItem::LocalFileItem) << "b c";
    QTest::newRow("other scheme") << "ftp://h/a/" << -1 << "";
    QTest::newRow("internal scheme") << "internal_my_computer://" << -1 << "";
    QTest::newRow("bucket not listed") << "http://mybucket.s3.amazonaws.com/x/" << -1 << "";
    QTest::newRow("empty") << "" << -1 << "";
}

void TestItems::localPathsResolve()
{
    QFETCH(QString, typed);
    QFETCH(int, type);
    QFETCH(QString, parentName);
    const bool local = typed.startsWith(QLatin1String("a"));
    const QString path = m_dir.path() + QLatin1Char('/') + typed;
    const QUrl url = local ? QUrl::fromLocalFile(type == AbstractItem::LocalFolderItem
                                                     ? Driver::normalizeFolder(path) : path) : QUrl(typed);
    const auto endpoint = account(AbstractAccount::AmazonS3Provider)->endpoint();
    const QSharedPointer<AbstractItem> item = Driver::itemFromUrl(url, roots(), {endpoint});
    QCOMPARE(item.isNull(), type < 0);
    if (!item)
        return;
    QCOMPARE(int(item->itemType()), type);
    QCOMPARE(item->displayPath(), QDir::cleanPath(path));

    // The chain above is built down from the root drive, one folder a level.
    const bool isFile = type == AbstractItem::LocalFileItem;
    const auto parent = isFile ? item.staticCast<LocalFile>()->parent() : item.staticCast<LocalFolder>()->parent();
    const auto root = isFile ? item.staticCast<LocalFile>()->rootItem() : item.staticCast<LocalFolder>()->rootItem();
    QCOMPARE(root->path(), QStringLiteral("/"));
    if (!parentName.isEmpty())
        QCOMPARE(parent->name(), parentName);
}

void TestItems::cloudPathsResolve_data()
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
    QTest::newRow("bucket") << 0 << "" << 0 << "s3://mybucket/" << bucket << "mybucket" << "" << true;
    QTest::newRow("deep folder") << 0 << "" << 0 << "s3://mybucket/a/b/" << folder << "mybucket" << "a/b/" << true;
    QTest::newRow("foreign bucket") << 0 << "" << 0 << "s3://elsewhere/x/" << folder << "elsewhere" << "x/" << false;
    // The key keeps the blank percent-encoded, as the URL has it.
    QTest::newRow("blank in key") << 0 << "" << 0 << "s3://mybucket/my dir/" << folder << "mybucket" << "my%20dir/" << true;
    QTest::newRow("google") << 1 << "" << 0 << "gs://gbucket/d/" << folder << "gbucket" << "d/" << true;
    QTest::newRow("port in path") << 7 << "s3.localhost" << 8080 << "s3://mybucket:8080/x/" << folder << "mybucket" << "x/" << true;
    QTest::newRow("port only in path") << 7 << "s3.localhost" << 0 << "s3://mybucket:8080/x/" << folder << "mybucket" << "x/" << false;
    QTest::newRow("second path-style bucket") << 7 << "127.0.0.1" << 9000 << "s3://Other_Bucket:9000/k" << file << "Other_Bucket" << "k" << true;
    QTest::newRow("host of no endpoint") << 7 << "s3.localhost" << 0 << "http://mybucket.elsewhere.localhost/k" << file << "mybucket" << "k" << false;
}

void TestItems::cloudPathsResolve()
{
    QFETCH(int, provider);
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(QString, path);
    QFETCH(int, type);
    QFETCH(QString, bucketName);
    QFETCH(QString, key);
    QFETCH(bool, ownBucket);

    const QStringList names = provider == AbstractAccount::GoogleStorageProvider ? QStringList{"gbucket"}
                                  : QStringList{"My_Bucket", "mybucket", "Other_Bucket"};
    const CloudSide side = cloudSide(AbstractAccount::Provider(provider), host, port, names);
    const QSharedPointer<Endpoint> endpoint = side.account->endpoint();
    const QUrl url = Driver::urlFromDisplayPath(path, endpoint->hostName(), port);
    const QSharedPointer<AbstractItem> item = Driver::itemFromUrl(url, roots() + side.roots, {endpoint});
    QVERIFY(item);
    QCOMPARE(int(item->itemType()), type);

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
            QCOMPARE(item.staticCast<AbstractWSFolder>()->parent()->itemType(), AbstractItem::BucketItem);
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

void TestItems::versionQueryMakesOldVersion()
{
    const CloudSide side = cloudSide(AbstractAccount::AmazonS3Provider, QString(), 0, {"mybucket"});
    const QUrl url(QStringLiteral("https://mybucket.s3.amazonaws.com/d/k?versionId=v%2B1"));
    const auto item = Driver::itemFromUrl(url, side.roots, {side.account->endpoint()}).staticCast<AbstractCloudFile>();
    QVERIFY(item);
    QVERIFY(!item->isLatest());
    QCOMPARE(item->versionId(), QByteArray("v+1"));
    QCOMPARE(item->folder()->path(), QStringLiteral("d/"));
}

void TestItems::requestUrl_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("https");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("bucketName");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("display");
    QTest::newRow("file, path style") << 0 << "" << false << 0 << "My_Bucket" << "dir/f.txt" << "http://s3.amazonaws.com/My_Bucket/dir/f.txt" << "s3://My_Bucket/dir/f.txt";
    QTest::newRow("amazon, other port") << 0 << "" << true << 8443 << "mybucket" << "dir/" << "https://mybucket.s3.amazonaws.com:8443/dir/" << "s3://mybucket:8443/dir/";
    QTest::newRow("google") << 1 << "" << false << 0 << "b12" << "dir/f" << "http://b12.storage.googleapis.com/dir/f" << "gs://b12/dir/f";
    QTest::newRow("http on 80") << 0 << "h.localhost" << false << 80 << "mybucket" << "k" << "http://mybucket.h.localhost/k" << "http://mybucket.h.localhost/k";
    QTest::newRow("http on 443") << 0 << "h.localhost" << false << 443 << "mybucket" << "k" << "http://mybucket.h.localhost:443/k" << "http://mybucket.h.localhost:443/k";
    QTest::newRow("https on 80") << 0 << "h.localhost" << true << 80 << "mybucket" << "k" << "https://mybucket.h.localhost:80/k" << "https://mybucket.h.localhost:80/k";
    QTest::newRow("https, path style") << 0 << "127.0.0.1" << true << 0 << "My_Bucket" << "d/" << "https://127.0.0.1/My_Bucket/d/" << "https://127.0.0.1/My_Bucket/d/";
}

void TestItems::requestUrl()
{
    QFETCH(int, provider);
    QFETCH(QString, host);
    QFETCH(bool, https);
    QFETCH(int, port);
    QFETCH(QString, bucketName);
    QFETCH(QString, key);
    QFETCH(QString, url);
    QFETCH(QString, display);

    const auto root = bucket(account(provider, host, https, port), bucketName);
    QSharedPointer<AbstractS3Folder> folder = root;
    if (key.contains(QLatin1Char('/')))
        folder = QSharedPointer<S3Folder>::create(root, key.section(QLatin1Char('/'), 0, 0));
    const QSharedPointer<AbstractItem> item = key.isEmpty() || key.endsWith(QLatin1Char('/'))
                                                  ? QSharedPointer<AbstractItem>(folder) : file(folder, key);
    QCOMPARE(encoded(item), url);
    QCOMPARE(item->displayPath(), display);
    // The encoded path stays what was built, byte for byte, once read back.
    QCOMPARE(QUrl::fromEncoded(item->url().toEncoded(), QUrl::StrictMode), item->url());
}

void TestItems::versionQuery()
{
    const auto root = bucket(account(AbstractAccount::AmazonS3Provider));
    const auto item = file(root, QStringLiteral("d/k"), true, "v1");
    QCOMPARE(encoded(item), QStringLiteral("http://mybucket.s3.amazonaws.com/d/k"));
    QCOMPARE(item->displayPath(), QStringLiteral("s3://mybucket/k"));
    // The cached URL follows the version.
    item->setVersionId("3/L4kq+t=");
    item->setLatest(false);
    QCOMPARE(QUrlQuery(item->url()).queryItemValue(QStringLiteral("versionId"), QUrl::FullyDecoded),
             QStringLiteral("3/L4kq+t="));
    QVERIFY(encoded(item).startsWith(QStringLiteral("http://mybucket.s3.amazonaws.com/d/k?versionId=")));
    QCOMPARE(item->displayPath(), QStringLiteral("s3://mybucket/k?versionId=3/L4kq+t="));
    item->setLatest(true);
    QCOMPARE(encoded(item), QStringLiteral("http://mybucket.s3.amazonaws.com/d/k"));

    // A delete marker is the latest entry, yet it is addressed by version.
    const auto marker = file(root, QStringLiteral("k"), true, "m1");
    marker->setDeleteMarker(DeleteMarker(QStringLiteral("k"), "m1", true, QDateTime(), root, "o"));
    QCOMPARE(encoded(marker), QStringLiteral("http://mybucket.s3.amazonaws.com/k?versionId=m1"));

    const auto folder = QSharedPointer<S3Folder>::create(QStringLiteral("d/"), root, "f1", false);
    folder->setLatest(false);
    QCOMPARE(encoded(folder), QStringLiteral("http://mybucket.s3.amazonaws.com/d/?versionId=f1"));
}

QTEST_GUILESS_MAIN(TestItems)
#include "tst_items.moc"
