#include <QTemporaryDir>
#include <QtTest>

#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/amazons3account.h"
#include "items/drive.h"
#include "items/driver.h"
#include "items/googlestorageaccount.h"
#include "items/gsbucket.h"
#include "items/gsfolder.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"
#include "items/s3bucket.h"
#include "items/s3file.h"
#include "items/s3folder.h"
#include "items/url.h"

// Accounts, endpoints, the URLs and display paths of store items, and the
// items that typed paths resolve to.
class TestItems : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void isDnsCompatible_data();
    void isDnsCompatible();
    void providerFromDomain_data();
    void providerFromDomain();
    void endpointFallsBackToStandard();
    void hashGroupsSameKeyAndDomain();
    void urlFromDisplayPath_data();
    void urlFromDisplayPath();
    void explicitPort_data();
    void explicitPort();
    void normalizeFolder_data();
    void normalizeFolder();
    void existingPathsResolve_data();
    void existingPathsResolve();
    void unresolvable_data();
    void unresolvable();
    void cloudPathsResolve_data();
    void cloudPathsResolve();
    void versionQueryMakesOldVersion();
    void requestUrl_data();
    void requestUrl();
    void canonicalName();
    void versionQuery();
    void cachedUrlFollowsVersion();
    void displayPath_data();
    void displayPath();
    void versionAnswers();
    void rootItemAndParentChain();

private:
    QList<QSharedPointer<AbstractFolder>> roots() const;

    QTemporaryDir m_dir;
};

namespace {

QSharedPointer<AbstractAccount> make(int provider)
{
    return Driver::createAccount(AbstractAccount::Provider(provider), Id(QStringLiteral("id")));
}

// An account of provider on host (the provider's default when empty), with an
// explicit port for the protocol in use.
QSharedPointer<AbstractAccount> account(int provider, const QString& host, bool https, int port)
{
    QSharedPointer<AbstractAccount> result = make(provider);
    if (!host.isEmpty())
        result->setEndpoint(Driver::createEndpoint(
            host, Driver::fileSystemFromProvider(AbstractAccount::Provider(provider))));
    result->setProtocol(https ? BrindleLib::ProtocolHttps : BrindleLib::ProtocolHttp);
    result->setExplicitPort(port);
    return result;
}

QSharedPointer<AbstractAccount> account(const QString& family, const QString& host, bool https,
                                        int port)
{
    return account(family == QLatin1String("gs") ? AbstractAccount::GoogleStorageProvider
                                                 : AbstractAccount::AmazonS3Provider,
                   host, https, port);
}

QSharedPointer<AbstractBucket> bucket(const QSharedPointer<AbstractAccount>& owner,
                                      const QString& name)
{
    return Driver::createBucketItem(name, QDateTime(), owner);
}

QSharedPointer<S3File> file(const QSharedPointer<AbstractS3Folder>& parent, const QString& key,
                            bool latest = true, const QByteArray& version = QByteArray())
{
    return QSharedPointer<S3File>::create(key, 3, QDateTime(), QByteArray(), parent, latest,
                                          version, QSharedPointer<AbstractUser>(),
                                          StorageDirective::StandardStorage);
}

QString encoded(const QUrl& url)
{
    return QString::fromLatin1(url.toEncoded());
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

void TestItems::unresolvable_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("missing local folder") << "a/nothing/";
    QTest::newRow("other scheme") << "ftp://h/a/";
    QTest::newRow("internal scheme") << "internal_my_computer://";
    QTest::newRow("bucket not listed") << "http://mybucket.s3.amazonaws.com/x/";
    QTest::newRow("empty") << "";
}

void TestItems::unresolvable()
{
    QFETCH(QString, url);
    const CloudSide side = cloudSide(AbstractAccount::AmazonS3Provider, QString(), 0, {});
    const QUrl typed = url.startsWith(QLatin1String("a/"))
                           ? QUrl::fromLocalFile(m_dir.filePath(url)) : QUrl(url);
    QVERIFY(!Driver::itemFromUrl(typed, roots(), {side.account->endpoint()}));
}

void TestItems::isDnsCompatible_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("compatible");
    QTest::newRow("plain") << "mybucket" << true;
    QTest::newRow("two characters") << "ab" << false;
    QTest::newRow("63 characters") << QString(63, QLatin1Char('a')) << true;
    QTest::newRow("64 characters") << QString(64, QLatin1Char('a')) << false;
    QTest::newRow("capital") << "My_Bucket" << false;
    QTest::newRow("underscore") << "my_bucket" << false;
    QTest::newRow("non-ascii lower-case") << "b\u00fccket" << false;
    // The first character is checked for U+0001 only.
    QTest::newRow("leading dot") << ".bucket" << true;
    QTest::newRow("leading control") << "\u0001bucket" << false;
    QTest::newRow("trailing dash") << "bucket-" << false;
    QTest::newRow("dash dot") << "a-.b" << false;
    QTest::newRow("dot dash") << "a.-b" << false;
    QTest::newRow("ipv4") << "192.168.1.1" << false;
    QTest::newRow("not ipv4: 256") << "256.1.1.1" << true;
    QTest::newRow("not ipv4: five groups") << "1.2.3.4.5" << true;
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
    QTest::newRow("loopback") << "127.0.0.1" << 7;
    QTest::newRow("empty") << "" << 7;
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
    QTest::newRow("dns bucket") << "s3://mybucket/dir/" << "" << 0
                                << "http://mybucket.s3.amazonaws.com/dir/";
    QTest::newRow("capital scheme and bucket") << "S3://Bucket/dir/" << "" << 0
                                               << "http://s3.amazonaws.com/Bucket/dir/";
    QTest::newRow("underscore bucket") << "s3://my_bucket/a/b/" << "h.localhost" << 0
                                       << "http://h.localhost/my_bucket/a/b/";
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

void TestItems::urlFromDisplayPath()
{
    QFETCH(QString, path);
    QFETCH(QString, endpoint);
    QFETCH(int, port);
    QFETCH(QString, url);
    QCOMPARE(QString::fromLatin1(Driver::urlFromDisplayPath(path, endpoint, port).toEncoded()),
             url);
}

void TestItems::explicitPort_data()
{
    QTest::addColumn<int>("option");
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<int>("port");
    QTest::newRow("destination path") << 9000 << QStringList{"/tmp/a/", "s3://b:8080/x/"}
                                      << 8080;
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
    QTest::newRow("local") << " /home/robin " << "/home/robin/";
    QTest::newRow("relative") << "docs" << "docs/";
    QTest::newRow("empty") << "   " << "";
}

void TestItems::normalizeFolder()
{
    QFETCH(QString, path);
    QFETCH(QString, normalized);
    QCOMPARE(Driver::normalizeFolder(path), normalized);
}

void TestItems::existingPathsResolve_data()
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

void TestItems::existingPathsResolve()
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
    QTest::newRow("bucket") << 0 << "" << 0 << "s3://mybucket/" << bucket << "mybucket" << ""
                            << true;
    QTest::newRow("deep folder") << 0 << "" << 0 << "s3://mybucket/a/b/" << folder << "mybucket"
                                 << "a/b/" << true;
    QTest::newRow("file") << 0 << "" << 0 << "s3://mybucket/a/f.txt" << file << "mybucket"
                          << "a/f.txt" << true;
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

void TestItems::versionQueryMakesOldVersion()
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

void TestItems::endpointFallsBackToStandard()
{
    const QSharedPointer<AbstractAccount> account = make(AbstractAccount::AmazonS3Provider);
    QCOMPARE(account->endpoint()->hostName(), AmazonS3Account::defaultHost());
    QCOMPARE(account->endpoint(), AmazonS3Account::defaultEndpoint());
    account->setEndpoint(Driver::createEndpoint(QStringLiteral("s3.localhost"),
                                                AbstractFS::S3FileSystem));
    QCOMPARE(account->endpoint()->hostName(), QStringLiteral("s3.localhost"));
    // The shared default endpoint is left alone.
    QCOMPARE(AmazonS3Account::defaultEndpoint()->hostName(), AmazonS3Account::defaultHost());
}

void TestItems::hashGroupsSameKeyAndDomain()
{
    const QSharedPointer<AbstractAccount> a = make(AbstractAccount::AmazonS3Provider);
    const QSharedPointer<AbstractAccount> b = make(AbstractAccount::AmazonS3Provider);
    a->setAccessKey("AKID");
    b->setAccessKey("AKID");
    // Another host at the same domain.
    b->setEndpoint(Driver::createEndpoint(QStringLiteral("s3-eu-west-1.amazonaws.com"),
                                          AbstractFS::S3FileSystem));
    QCOMPARE(qHash(a, 7), qHash(b, 7));

    QHash<QSharedPointer<AbstractAccount>, int> byAccount;
    byAccount.insert(a, 1);
    byAccount.insert(b, 2);
    QCOMPARE(byAccount.size(), 2);

    b->setAccessKey("OTHER");
    QVERIFY(qHash(a, 7) != qHash(b, 7));
}

void TestItems::requestUrl_data()
{
    QTest::addColumn<QString>("bucketName");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("https");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("url");

    QTest::newRow("bucket, dns name") << "mybucket" << "" << false << 0 << ""
                                      << "http://mybucket.s3.amazonaws.com/";
    QTest::newRow("file, path style") << "My_Bucket" << "" << false << 0 << "dir/f.txt"
                                      << "http://s3.amazonaws.com/My_Bucket/dir/f.txt";
    QTest::newRow("http on 80") << "mybucket" << "h.localhost" << false << 80 << "k"
                                << "http://mybucket.h.localhost/k";
    QTest::newRow("http on 443") << "mybucket" << "h.localhost" << false << 443 << "k"
                                 << "http://mybucket.h.localhost:443/k";
    QTest::newRow("https on 80") << "mybucket" << "h.localhost" << true << 80 << "k"
                                 << "https://mybucket.h.localhost:80/k";
    QTest::newRow("other port, path style") << "B" << "127.0.0.1" << false << 9000 << "d/k"
                                            << "http://127.0.0.1:9000/B/d/k";
}

void TestItems::requestUrl()
{
    QFETCH(QString, bucketName);
    QFETCH(QString, host);
    QFETCH(bool, https);
    QFETCH(int, port);
    QFETCH(QString, key);
    QFETCH(QString, url);

    const QSharedPointer<AbstractBucket> root = bucket(account("s3", host, https, port), bucketName);
    QSharedPointer<AbstractItem> item = root;
    if (key.endsWith(QLatin1Char('/')))
        item = QSharedPointer<S3Folder>::create(key, root, QByteArray(), false);
    else if (!key.isEmpty())
        item = file(root, key);
    QCOMPARE(encoded(item->url()), url);
    // The encoded path stays what was built, byte for byte, once read back.
    QCOMPARE(QUrl::fromEncoded(item->url().toEncoded(), QUrl::StrictMode), item->url());
}

void TestItems::canonicalName()
{
    const QSharedPointer<AbstractAccount> owner = account("s3", "", false, 0);
    owner->addCanonicalName(QStringLiteral("My_Bucket"), QStringLiteral("files.example.org"));
    const auto root = bucket(owner, QStringLiteral("My_Bucket"));
    const auto folder = QSharedPointer<S3Folder>::create(root, QStringLiteral("d"));
    QCOMPARE(encoded(root->url()), QStringLiteral("http://files.example.org/"));
    QCOMPARE(encoded(folder->url()), QStringLiteral("http://files.example.org/d/"));
    QCOMPARE(encoded(file(folder, QStringLiteral("d/k"))->url()),
             QStringLiteral("http://files.example.org/d/k"));
    QCOMPARE(encoded(folder->urlWithoutCName()),
             QStringLiteral("http://s3.amazonaws.com/My_Bucket/d/"));
}

void TestItems::versionQuery()
{
    const auto root = bucket(account("s3", "", false, 0), QStringLiteral("mybucket"));
    const auto current = file(root, QStringLiteral("d/k"), true, "v1");
    QCOMPARE(encoded(current->url()), QStringLiteral("http://mybucket.s3.amazonaws.com/d/k"));
    QCOMPARE(current->displayPath(), QStringLiteral("s3://mybucket/k"));

    const auto old = file(root, QStringLiteral("d/k"), false, "3/L4kq+t=");
    QCOMPARE(QUrlQuery(old->url()).queryItemValue(QStringLiteral("versionId"), QUrl::FullyDecoded),
             QStringLiteral("3/L4kq+t="));
    QVERIFY(encoded(old->url()).startsWith(
        QStringLiteral("http://mybucket.s3.amazonaws.com/d/k?versionId=")));
    QCOMPARE(old->displayPath(), QStringLiteral("s3://mybucket/k?versionId=3/L4kq+t="));

    // A delete marker is the latest entry, yet it is addressed by version.
    const auto marker = file(root, QStringLiteral("k"), true, "m1");
    marker->setDeleteMarker(DeleteMarker(QStringLiteral("k"), "m1", true, QDateTime(), root, "o"));
    QCOMPARE(encoded(marker->url()), QStringLiteral("http://mybucket.s3.amazonaws.com/k?versionId=m1"));

    const auto folder = QSharedPointer<S3Folder>::create(QStringLiteral("d/"), root, "f1", false);
    folder->setLatest(false);
    QCOMPARE(encoded(folder->url()), QStringLiteral("http://mybucket.s3.amazonaws.com/d/?versionId=f1"));
}

void TestItems::cachedUrlFollowsVersion()
{
    const auto root = bucket(account("s3", "", false, 0), QStringLiteral("mybucket"));
    const auto item = file(root, QStringLiteral("k"));
    QCOMPARE(encoded(item->url()), QStringLiteral("http://mybucket.s3.amazonaws.com/k"));
    item->setVersionId("v2");
    item->setLatest(false);
    QCOMPARE(encoded(item->url()), QStringLiteral("http://mybucket.s3.amazonaws.com/k?versionId=v2"));
    item->setLatest(true);
    QCOMPARE(encoded(item->url()), QStringLiteral("http://mybucket.s3.amazonaws.com/k"));
}

void TestItems::displayPath_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("https");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("bucketName");
    QTest::addColumn<QString>("bucketPath");
    QTest::addColumn<QString>("folderPath");

    QTest::newRow("amazon") << "s3" << "" << false << 0 << "mybucket" << "s3://mybucket/"
                            << "s3://mybucket/dir/";
    QTest::newRow("amazon, other port") << "s3" << "" << true << 8443 << "mybucket"
                                        << "s3://mybucket:8443/" << "s3://mybucket:8443/dir/";
    QTest::newRow("google") << "gs" << "" << false << 0 << "b12" << "gs://b12/" << "gs://b12/dir/";
    QTest::newRow("other store") << "s3" << "s3.localhost" << false << 9000 << "mybucket"
                                 << "http://mybucket.s3.localhost:9000/"
                                 << "http://mybucket.s3.localhost:9000/dir/";
    QTest::newRow("other store, path style") << "s3" << "127.0.0.1" << true << 0 << "My_Bucket"
                                             << "https://127.0.0.1/My_Bucket/"
                                             << "https://127.0.0.1/My_Bucket/dir/";
}

void TestItems::displayPath()
{
    QFETCH(QString, family);
    QFETCH(QString, host);
    QFETCH(bool, https);
    QFETCH(int, port);
    QFETCH(QString, bucketName);
    QFETCH(QString, bucketPath);
    QFETCH(QString, folderPath);

    const auto root = bucket(account(family, host, https, port), bucketName);
    QCOMPARE(root->displayPath(), bucketPath);
    const auto folder = QSharedPointer<S3Folder>::create(root, QStringLiteral("dir"));
    QCOMPARE(folder->displayPath(), folderPath);
    QCOMPARE(file(folder, QStringLiteral("dir/f.txt"))->displayPath(), folderPath + "f.txt");
}

void TestItems::versionAnswers()
{
    const auto root = bucket(account("s3", "", false, 0), QStringLiteral("mybucket"));
    const auto current = file(root, QStringLiteral("k"));
    QVERIFY(current->isEditable() && current->isDeletable() && !current->canBeRestored());

    const auto old = file(root, QStringLiteral("k"), false, "v");
    QVERIFY(!old->isEditable() && old->canBeRestored() && old->isCopyable());

    const auto marker = file(root, QStringLiteral("k"), true, "m");
    marker->setDeleteMarker(DeleteMarker(QStringLiteral("k"), "m", true, QDateTime(), root, "o"));
    QVERIFY(!marker->isDeletable() && !marker->isCopyable() && !marker->isMovable());
    QVERIFY(!marker->isEditable() && !marker->canBeRestored());

    const auto gsRoot = bucket(account("gs", "", false, 0), QStringLiteral("b12"));
    const auto gsOld = QSharedPointer<GSFolder>::create(QStringLiteral("d/"), gsRoot, "v", false);
    const auto s3Old = QSharedPointer<S3Folder>::create(QStringLiteral("d/"), root, "v", false);
    gsOld->setLatest(false);
    s3Old->setLatest(false);
    QVERIFY(!gsOld->isCopyable() && !gsOld->isEditable());
    QVERIFY(s3Old->isCopyable() && !s3Old->isEditable());
}

void TestItems::rootItemAndParentChain()
{
    QSharedPointer<S3File> leaf;
    QWeakPointer<AbstractBucket> weakRoot;
    {
        const auto root = bucket(account("s3", "", false, 0), QStringLiteral("mybucket"));
        weakRoot = root;
        const auto a = QSharedPointer<S3Folder>::create(root, QStringLiteral("a"));
        const auto b = QSharedPointer<S3Folder>::create(a, QStringLiteral("b"));
        leaf = file(b, QStringLiteral("a/b/f"));
        QCOMPARE(b->rootItem(), root.staticCast<AbstractFolder>());
        QCOMPARE(file(root, QStringLiteral("f"))->rootItem(), root.staticCast<AbstractFolder>());
    }
    // The file alone keeps the whole chain, up to the bucket, alive.
    QVERIFY(!weakRoot.isNull());
    QCOMPARE(leaf->rootItem()->name(), QStringLiteral("mybucket"));
    QCOMPARE(leaf->folder()->bucketName(), QStringLiteral("mybucket"));
}

QTEST_GUILESS_MAIN(TestItems)
#include "tst_items.moc"
