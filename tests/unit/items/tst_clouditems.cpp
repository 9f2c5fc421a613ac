#include <QtTest>

#include "items/driver.h"
#include "items/amazons3account.h"
#include "items/googlestorageaccount.h"
#include "items/gsbucket.h"
#include "items/gsfolder.h"
#include "items/s3bucket.h"
#include "items/s3file.h"
#include "items/s3folder.h"

class TestCloudItems : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void requestUrl_data();
    void requestUrl();
    void pathStyleOnRequest();
    void canonicalName();
    void versionQuery();
    void cachedUrlFollowsVersion();
    void displayPath_data();
    void displayPath();
    void names_data();
    void names();
    void childKeys();
    void versionAnswers();
    void commonPrefixFolder();
    void rootItemAndParentChain();
    void deleteMarkerValue();
    void cloneIsIndependent();
};

namespace {

// An Amazon account (or Google for "gs") on host, with an explicit port for
// the protocol in use; an empty host keeps the provider's default.
QSharedPointer<AbstractAccount> account(const QString& family, const QString& host, bool https,
                                        int port)
{
    const bool google = family == QLatin1String("gs");
    const auto provider =
        google ? AbstractAccount::GoogleStorageProvider : AbstractAccount::AmazonS3Provider;
    QSharedPointer<AbstractAccount> result = Driver::createAccount(provider, Id());
    if (!host.isEmpty())
        result->setEndpoint(Driver::createEndpoint(host, Driver::fileSystemFromProvider(provider)));
    result->setProtocol(https ? BrindleLib::ProtocolHttps : BrindleLib::ProtocolHttp);
    result->setExplicitPort(port);
    return result;
}

QSharedPointer<AbstractBucket> bucket(const QSharedPointer<AbstractAccount>& owner,
                                      const QString& name)
{
    if (owner->fileSystemType() == AbstractFS::GSFileSystem)
        return QSharedPointer<GSBucket>::create(QLatin1Char('/'), name, QDateTime(),
                                                owner.staticCast<GoogleStorageAccount>());
    return QSharedPointer<S3Bucket>::create(QLatin1Char('/'), name, QDateTime(),
                                            owner.staticCast<AmazonS3Account>());
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

} // namespace

void TestCloudItems::requestUrl_data()
{
    QTest::addColumn<QString>("bucketName");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("https");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("url");

    QTest::newRow("bucket, dns name") << "mybucket" << "" << false << 0 << ""
                                      << "http://mybucket.s3.amazonaws.com/";
    QTest::newRow("bucket, path style") << "My_Bucket" << "" << false << 0 << ""
                                        << "http://s3.amazonaws.com/My_Bucket/";
    QTest::newRow("folder, dns name") << "mybucket" << "" << true << 0 << "dir/sub/"
                                      << "https://mybucket.s3.amazonaws.com/dir/sub/";
    QTest::newRow("file, dns name") << "mybucket" << "" << false << 0 << "dir/f.txt"
                                    << "http://mybucket.s3.amazonaws.com/dir/f.txt";
    QTest::newRow("file, path style") << "My_Bucket" << "" << false << 0 << "dir/f.txt"
                                      << "http://s3.amazonaws.com/My_Bucket/dir/f.txt";
    QTest::newRow("blanks and reserved")
        << "mybucket" << "" << false << 0 << "a b/c+d&e=f?g#h%i;j,k:l@m!n'o(p)q*r~s.t_u-v"
        << "http://mybucket.s3.amazonaws.com/a%20b/c%2Bd%26e%3Df%3Fg%23h%25i%3Bj%2Ck%3Al%40m%21n%"
           "27o%28p%29q%2Ar~s.t_u-v";
    QTest::newRow("encoded-looking key") << "mybucket" << "" << false << 0 << "my%20dir/x"
                                         << "http://mybucket.s3.amazonaws.com/my%2520dir/x";
    QTest::newRow("non-ascii key") << "My_Bucket" << "" << false << 0 << "\u00e9t\u00e9/x y"
                                   << "http://s3.amazonaws.com/My_Bucket/%C3%A9t%C3%A9/x%20y";
    QTest::newRow("http on 80") << "mybucket" << "h.localhost" << false << 80 << "k"
                                << "http://mybucket.h.localhost/k";
    QTest::newRow("https on 443") << "mybucket" << "h.localhost" << true << 443 << "k"
                                  << "https://mybucket.h.localhost/k";
    QTest::newRow("http on 443") << "mybucket" << "h.localhost" << false << 443 << "k"
                                 << "http://mybucket.h.localhost:443/k";
    QTest::newRow("https on 80") << "mybucket" << "h.localhost" << true << 80 << "k"
                                 << "https://mybucket.h.localhost:80/k";
    QTest::newRow("other port, path style") << "B" << "127.0.0.1" << false << 9000 << "d/k"
                                            << "http://127.0.0.1:9000/B/d/k";
    QTest::newRow("other port, bucket") << "B" << "127.0.0.1" << true << 8443 << ""
                                        << "https://127.0.0.1:8443/B/";
}

void TestCloudItems::requestUrl()
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

void TestCloudItems::pathStyleOnRequest()
{
    const QSharedPointer<AbstractAccount> owner = account("s3", "", false, 0);
    owner->setRequestStyle(BrindleLib::RequestStylePath);
    const auto root = bucket(owner, QStringLiteral("mybucket"));
    QCOMPARE(encoded(file(root, QStringLiteral("k"))->url()),
             QStringLiteral("http://s3.amazonaws.com/mybucket/k"));
}

void TestCloudItems::canonicalName()
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

void TestCloudItems::versionQuery()
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

void TestCloudItems::cachedUrlFollowsVersion()
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

void TestCloudItems::displayPath_data()
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
    QTest::newRow("amazon, path style") << "s3" << "" << false << 0 << "My_Bucket"
                                        << "s3://My_Bucket/" << "s3://My_Bucket/dir/";
    QTest::newRow("amazon region host") << "s3" << "s3-eu-west-1.amazonaws.com" << true << 0
                                        << "mybucket" << "s3://mybucket/" << "s3://mybucket/dir/";
    QTest::newRow("amazon, other port") << "s3" << "" << true << 8443 << "mybucket"
                                        << "s3://mybucket:8443/" << "s3://mybucket:8443/dir/";
    QTest::newRow("amazon, http on 443") << "s3" << "" << false << 443 << "mybucket"
                                         << "s3://mybucket:443/" << "s3://mybucket:443/dir/";
    QTest::newRow("google") << "gs" << "" << false << 0 << "b12" << "gs://b12/" << "gs://b12/dir/";
    QTest::newRow("other store") << "s3" << "s3.localhost" << false << 9000 << "mybucket"
                                 << "http://mybucket.s3.localhost:9000/"
                                 << "http://mybucket.s3.localhost:9000/dir/";
    QTest::newRow("other store, path style") << "s3" << "127.0.0.1" << true << 0 << "My_Bucket"
                                             << "https://127.0.0.1/My_Bucket/"
                                             << "https://127.0.0.1/My_Bucket/dir/";
}

void TestCloudItems::displayPath()
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

void TestCloudItems::names_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("name");
    QTest::newRow("top folder") << "a/" << "a";
    QTest::newRow("deep folder") << "a/b c/d/" << "d";
    QTest::newRow("delimiter alone") << "/" << "";
    QTest::newRow("top file") << "f.txt" << "f.txt";
    QTest::newRow("deep file") << "a/b/f.txt" << "f.txt";
    QTest::newRow("file behind empty component") << "a//f" << "f";
}

void TestCloudItems::names()
{
    QFETCH(QString, key);
    QFETCH(QString, name);
    const auto root = bucket(account("s3", "", false, 0), QStringLiteral("mybucket"));
    if (key.endsWith(QLatin1Char('/'))) {
        const auto folder = QSharedPointer<S3Folder>::create(key, root, QByteArray(), false);
        QCOMPARE(folder->nameRef().toString(), name);
        QCOMPARE(folder->displayName(), name);
        QCOMPARE(folder->path(), key);
    } else {
        const auto item = file(root, key);
        QCOMPARE(item->nameRef().toString(), name);
        QCOMPARE(item->path(), key);
    }
}

void TestCloudItems::childKeys()
{
    const auto root = bucket(account("gs", "", false, 0), QStringLiteral("b12"));
    QCOMPARE(root->path(), QString());
    QCOMPARE(root->name(), QStringLiteral("b12"));
    const auto dir = QSharedPointer<GSFolder>::create(root, QStringLiteral("dir"));
    const auto sub = QSharedPointer<GSFolder>::create(dir, QStringLiteral("s u b"));
    QCOMPARE(dir->path(), QStringLiteral("dir/"));
    QCOMPARE(sub->path(), QStringLiteral("dir/s u b/"));
    QCOMPARE(sub->fileSystemType(), AbstractFS::GSFileSystem);
    const auto child = QSharedPointer<S3File>::create(sub, QStringLiteral("f"));
    QCOMPARE(child->path(), QStringLiteral("dir/s u b/f"));
    QCOMPARE(child->size(), qint64(-1));
    QCOMPARE(QSharedPointer<S3File>::create(root, QStringLiteral("top"))->path(),
             QStringLiteral("top"));
}

void TestCloudItems::versionAnswers()
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

void TestCloudItems::commonPrefixFolder()
{
    const auto root = bucket(account("s3", "", false, 0), QStringLiteral("mybucket"));
    const auto prefix = QSharedPointer<S3Folder>::create(QStringLiteral("p/"), root, QByteArray(), true);
    QVERIFY(prefix->isCommonPrefix());
    QVERIFY(!prefix->exists());
    prefix->setExistsFlag(true);
    QVERIFY(prefix->exists());
    QVERIFY(!QSharedPointer<S3Folder>::create(root, QStringLiteral("p"))->isCommonPrefix());
}

void TestCloudItems::rootItemAndParentChain()
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
    QCOMPARE(leaf->rootItem()->itemType(), AbstractItem::BucketItem);
    // Walking up ends at the bucket itself; a bucket's own root item is a copy.
    const QSharedPointer<AbstractBucket> root = weakRoot.toStrongRef();
    QCOMPARE(leaf->rootItem(), root.staticCast<AbstractFolder>());
    QVERIFY(root->rootItem() != root.staticCast<AbstractFolder>());
    QCOMPARE(root->rootItem()->displayPath(), root->displayPath());
}

void TestCloudItems::deleteMarkerValue()
{
    QVERIFY(DeleteMarker().isNull());
    const auto root = bucket(account("s3", "", false, 0), QStringLiteral("mybucket"));
    const QDateTime when(QDate(2012, 3, 4), QTime(5, 6, 7), Qt::UTC);
    const DeleteMarker marker(QStringLiteral("a/k"), "v9", true, when, root, "owner");
    const DeleteMarker copy = marker;
    QVERIFY(!copy.isNull());
    QCOMPARE(copy.key(), QStringLiteral("a/k"));
    QCOMPARE(copy.versionId(), QByteArray("v9"));
    QVERIFY(copy.isLasted());
    QCOMPARE(copy.lastModified(), when);
    QCOMPARE(copy.parent(), root.staticCast<AbstractS3Folder>());
    QCOMPARE(copy.ownerId(), QByteArray("owner"));
}

void TestCloudItems::cloneIsIndependent()
{
    const auto root = bucket(account("s3", "", false, 0), QStringLiteral("mybucket"));
    const auto original = file(root, QStringLiteral("k"), true, "v1");
    original->setMd5Sum(QByteArray::fromHex("00ff"));
    const auto copy = original->clone().staticCast<S3File>();
    original->setSize(99);
    original->setLatest(false);
    QCOMPARE(copy->size(), qint64(3));
    QVERIFY(copy->isLatest());
    QCOMPARE(copy->md5sum(), QByteArray::fromHex("00ff"));
    QCOMPARE(copy->parent(), original->parent());

    const auto folder = QSharedPointer<S3Folder>::create(QStringLiteral("d/"), root, "v", true);
    folder->addToVersionIdList("x");
    const auto folderCopy = folder->clone().staticCast<S3Folder>();
    folder->addToVersionIdList("y");
    QCOMPARE(folderCopy->versionsIdList(), QList<QByteArray>{"x"});
    QVERIFY(folderCopy->isCommonPrefix());
}

QTEST_GUILESS_MAIN(TestCloudItems)
#include "tst_clouditems.moc"
