#include <QTemporaryDir>
#include <QtTest>

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

QTEST_GUILESS_MAIN(TestDriver)
#include "tst_driver.moc"
