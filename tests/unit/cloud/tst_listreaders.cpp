#include <QtTest>

#include "recordedanswers.h"

#include "cloud/wsliststreamreader.h"
#include "cloud/wslistversionsstreamreader.h"
#include "items/filteritem.h"
#include "items/abstractbucket.h"
#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/driver.h"

class TestListReaders : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void subtreeRebuilt();
    void oneLevel();
    void folderObjectAtOneLevel();
    void deeperKeyBeforeFolderObject();
    void nextMarker_data();
    void nextMarker();
    void pagesShareFolders();
    void fileModeLookAlikes_data();
    void fileModeLookAlikes();
    void filterSkipsFilesOnly();
    void cutDocumentKeepsWhatWasRead();
    void fedInPieces_data();
    void fedInPieces();
    void errorInsteadOfListing();
    void versions();
    void versionMarkers_data();
    void versionMarkers();

private:
    QSharedPointer<AbstractAccount> m_account;
    QSharedPointer<AbstractS3Folder> m_bucket;
};

namespace {

template <typename Item>
QStringList paths(const QList<QSharedPointer<Item>>& items)
{
    QStringList result;
    for (const QSharedPointer<Item>& item : items)
        result << item->path();
    return result;
}

QSharedPointer<AbstractCloudFile> cloudFile(const QSharedPointer<AbstractFile>& file)
{
    return file.staticCast<AbstractCloudFile>();
}

QSharedPointer<AbstractWSFolder> wsFolder(const QSharedPointer<AbstractFolder>& folder)
{
    return folder.dynamicCast<AbstractWSFolder>();
}

// A minimal one-page listing of keys, with optional extra elements.
QByteArray listing(const QStringList& keys, const QByteArray& extra = QByteArray())
{
    QByteArray body = "<ListBucketResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">" + extra;
    for (const QString& key : keys)
        body += "<Contents><Key>" + key.toUtf8() + "</Key><Size>1</Size></Contents>";
    return body + "</ListBucketResult>";
}

} // namespace

void TestListReaders::initTestCase()
{
    m_account = Driver::createAccount(AbstractAccount::AmazonS3Provider, Id(QStringLiteral("t")));
    m_account->setEndpoint(Driver::createEndpoint(QStringLiteral("s3.localhost"),
                                                  AbstractFS::S3FileSystem));
    m_bucket = Driver::createBucketItem(QStringLiteral("photo-archive"), QDateTime(), m_account);
}

void TestListReaders::subtreeRebuilt()
{
    const QSharedPointer<AbstractWSFolder> container =
        Driver::createChildFolder(m_bucket, QStringLiteral("2023"));
    WSListStreamReader reader(m_account, container, recordedAnswer("list-aws-subtree.xml"),
                              BrindleLib::ListSubtree);
    reader.readDocument();
    QVERIFY(reader.error().isNull());
    QVERIFY(!reader.isTruncated());

    // The key of the listed folder itself marks it and is nothing else.
    QVERIFY(container->exists());
    QCOMPARE(paths(reader.folders()), (QStringList{"2023/trip/", "2023/trip/day1/"}));
    QCOMPARE(paths(reader.files()),
             (QStringList{"2023/cover.jpg", "2023/trip/day1/beach.jpg", "2023/trip/day1/dunes.jpg",
                          "2023/trip/notes & plans été.txt"}));

    const QSharedPointer<AbstractWSFolder> trip = wsFolder(reader.folders().at(0));
    const QSharedPointer<AbstractWSFolder> day1 = wsFolder(reader.folders().at(1));
    QVERIFY(trip->exists());
    QVERIFY(!trip->isCommonPrefix());
    QVERIFY(!day1->exists());
    QCOMPARE(trip->parent(), container.staticCast<AbstractS3Folder>());
    QCOMPARE(day1->parent(), trip.staticCast<AbstractS3Folder>());

    const auto files = reader.files();
    QCOMPARE(cloudFile(files.at(0))->folder(), container.staticCast<AbstractS3Folder>());
    const QSharedPointer<AbstractCloudFile> beach = cloudFile(files.at(1));
    QCOMPARE(beach->folder(), day1.staticCast<AbstractS3Folder>());
    QCOMPARE(cloudFile(files.at(3))->folder(), trip.staticCast<AbstractS3Folder>());
    QCOMPARE(beach->size(), qint64(1204391));
    QCOMPARE(beach->md5sum(), QByteArray::fromHex("e4d909c290d0fb1ca068ffaddf22cbd0"));
    QCOMPARE(beach->storageClass(), StorageDirective::ReducedRedundancyStorage);
    QCOMPARE(beach->lastModified().toUTC(), utc(2023, 4, 3, 18, 2, 10));
    QCOMPARE(cloudFile(files.at(0))->lastModified().toUTC(), utc(2023, 4, 2, 9, 16, 44, 512));
    // A multi-part ETag never equals a digest; plain quotes read like references.
    QCOMPARE(cloudFile(files.at(2))->md5sum().size(), 17);
    QCOMPARE(cloudFile(files.at(3))->md5sum(),
             QByteArray::fromHex("0cc175b9c0f1b6a831c399e269772661"));
}

void TestListReaders::oneLevel()
{
    const QSharedPointer<AbstractWSFolder> container =
        Driver::createChildFolder(m_bucket, QStringLiteral("docs"));
    // rgw: prefixes ahead of the keys, the marker last.
    WSListStreamReader reader(m_account, container, recordedAnswer("list-rgw-onelevel.xml"),
                              BrindleLib::ListOneLevel);
    reader.readDocument();
    QVERIFY(reader.error().isNull());
    QVERIFY(container->exists());
    QCOMPARE(paths(reader.files()), QStringList{"docs/budget.ods"});
    QCOMPARE(paths(reader.folders()), (QStringList{"docs/drafts/", "docs/reports/"}));
    for (const QSharedPointer<AbstractFolder>& folder : reader.folders()) {
        QVERIFY(wsFolder(folder)->isCommonPrefix());
        QVERIFY(!wsFolder(folder)->exists());
        QCOMPARE(wsFolder(folder)->parent(), container.staticCast<AbstractS3Folder>());
    }
    QVERIFY(reader.isTruncated());
    QCOMPARE(reader.nextMarker(), QStringLiteral("docs/reports/"));
}

void TestListReaders::folderObjectAtOneLevel()
{
    const QByteArray body =
        "<ListBucketResult><Contents><Key>photos/</Key><Size>0</Size><Owner><ID>aa01</ID>"
        "</Owner></Contents><CommonPrefixes><Prefix>music/</Prefix></CommonPrefixes>"
        "<CommonPrefixes><Prefix></Prefix></CommonPrefixes></ListBucketResult>";
    WSListStreamReader reader(m_account, m_bucket, body, BrindleLib::ListOneLevel);
    reader.readDocument();
    QCOMPARE(paths(reader.folders()), (QStringList{"photos/", "music/"}));
    const QSharedPointer<AbstractWSFolder> photos = wsFolder(reader.folders().at(0));
    QVERIFY(photos->exists());
    QVERIFY(!photos->isCommonPrefix());
    QCOMPARE(photos->owner()->id(), QByteArray("aa01"));
    QVERIFY(reader.files().isEmpty());
}

void TestListReaders::deeperKeyBeforeFolderObject()
{
    // A store that sorts "/" differently may name a key below a folder
    // before the folder's own object.
    WSListStreamReader reader(m_account, m_bucket, listing({"a/b/c", "a/b/", "a/d"}),
                              BrindleLib::ListSubtree);
    reader.readDocument();
    QCOMPARE(paths(reader.folders()), (QStringList{"a/", "a/b/"}));
    QVERIFY(!wsFolder(reader.folders().at(0))->exists());
    QVERIFY(wsFolder(reader.folders().at(1))->exists());
    QCOMPARE(paths(reader.files()), (QStringList{"a/b/c", "a/d"}));
}

void TestListReaders::nextMarker_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("truncated");
    QTest::addColumn<QString>("marker");

    QTest::newRow("next marker given")
        << listing({"k1", "k2"}, "<IsTruncated>true</IsTruncated><NextMarker>k2/</NextMarker>")
        << true << "k2/";
    QTest::newRow("truncated without next marker goes on from the last key")
        << listing({"k1", "k2"}, "<IsTruncated>true</IsTruncated>") << true << "k2";
    QTest::newRow("rgw marker last is no next marker")
        << QByteArray(listing({"k1", "k2"}, "<IsTruncated>true</IsTruncated>"))
               .replace("</ListBucketResult>", "<Marker>k0</Marker></ListBucketResult>")
        << true << "k2";
    QTest::newRow("complete page with next marker")
        << listing({"k1"}, "<IsTruncated>false</IsTruncated><NextMarker>k1</NextMarker>") << false
        << "k1";
}

void TestListReaders::nextMarker()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, truncated);
    QFETCH(QString, marker);

    WSListStreamReader reader(m_account, m_bucket, body, BrindleLib::ListSubtree);
    reader.readDocument();
    QCOMPARE(reader.isTruncated(), truncated);
    QCOMPARE(reader.nextMarker(), marker);
}

void TestListReaders::pagesShareFolders()
{
    const QSharedPointer<AbstractWSFolder> container =
        Driver::createChildFolder(m_bucket, QStringLiteral("src"));
    WSListStreamReader first(m_account, container, recordedAnswer("list-s3rver-page1.xml"),
                             BrindleLib::ListSubtree);
    first.readDocument();
    QVERIFY(first.isTruncated());
    QCOMPARE(first.nextMarker(), QStringLiteral("src/lib/c.c"));
    QCOMPARE(paths(first.folders()), QStringList{"src/lib/"});
    QCOMPARE(paths(first.files()), (QStringList{"src/lib/a.c", "src/lib/b.c", "src/lib/c.c"}));

    // On its own the second page makes the folders above its keys again.
    const QByteArray second = recordedAnswer("list-s3rver-page2.xml");
    WSListStreamReader alone(m_account, container, second, BrindleLib::ListSubtree);
    alone.readDocument();
    QCOMPARE(paths(alone.folders()), (QStringList{"src/lib/", "src/lib/sub/"}));

    // With the first page's folders it names only its new ones, below them.
    WSListStreamReader shared(m_account, container, second, BrindleLib::ListSubtree);
    shared.setFolderMap(first.folderMap());
    shared.readDocument();
    QVERIFY(!shared.isTruncated());
    QCOMPARE(shared.nextMarker(), QString());
    QCOMPARE(paths(shared.folders()), QStringList{"src/lib/sub/"});
    const QSharedPointer<AbstractS3Folder> lib = wsFolder(first.folders().first());
    QCOMPARE(wsFolder(shared.folders().first())->parent(), lib);
    QVERIFY(wsFolder(shared.folders().first())->exists());
    QCOMPARE(paths(shared.files()), (QStringList{"src/lib/d.c", "src/main.c"}));
    QCOMPARE(cloudFile(shared.files().first())->folder(), lib);
}

void TestListReaders::fileModeLookAlikes_data()
{
    QTest::addColumn<QString>("parent");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("kept");

    const QByteArray prefixX =
        "<CommonPrefixes><Prefix>x/</Prefix></CommonPrefixes><Delimiter>/</Delimiter>";
    QTest::newRow("in a bucket") << "" << "x" << listing({"x", "x1"}, prefixX) << QStringList{"x"};
    QTest::newRow("in a folder")
        << "dir" << "dir/x"
        << listing({"dir/x", "dir/x.bak"},
                   "<CommonPrefixes><Prefix>dir/x/</Prefix></CommonPrefixes>")
        << QStringList{"dir/x"};
}

void TestListReaders::fileModeLookAlikes()
{
    QFETCH(QString, parent);
    QFETCH(QString, key);
    QFETCH(QByteArray, body);
    QFETCH(QStringList, kept);

    QSharedPointer<AbstractS3Folder> container = m_bucket;
    if (!parent.isEmpty())
        container = Driver::createChildFolder(m_bucket, parent);
    WSListStreamReader reader(m_account, container, body, BrindleLib::ListOneLevel);
    reader.readDocument();
    reader.retainKey(key);
    QCOMPARE(paths(reader.files()), kept);
}

void TestListReaders::filterSkipsFilesOnly()
{
    Filter filter;
    filter.append(QSharedPointer<FileNameFilterItem>::create(
        AbstractFilterItem::Exclude,
        QRegExp(QStringLiteral("*.tmp"), Qt::CaseSensitive, QRegExp::Wildcard)));
    WSListStreamReader reader(m_account, m_bucket,
                              listing({"cache.tmp/", "cache.tmp/a.tmp", "cache.tmp/b.txt", "c.tmp"}),
                              BrindleLib::ListSubtree, filter);
    reader.readDocument();
    QCOMPARE(paths(reader.folders()), QStringList{"cache.tmp/"});
    QCOMPARE(paths(reader.files()), QStringList{"cache.tmp/b.txt"});
}

void TestListReaders::cutDocumentKeepsWhatWasRead()
{
    QByteArray body = recordedAnswer("list-aws-subtree.xml");
    body.truncate(body.indexOf("<Key>2023/trip/day1/dunes.jpg"));
    WSListStreamReader reader(m_account, m_bucket, body, BrindleLib::ListSubtree);
    reader.readDocument();
    QVERIFY(reader.error().isNull());
    QCOMPARE(paths(reader.files()), (QStringList{"2023/cover.jpg", "2023/trip/day1/beach.jpg"}));
}

void TestListReaders::fedInPieces_data()
{
    QTest::addColumn<int>("pieceSize");
    for (int size : {1, 3, 100, 4096})
        QTest::newRow(qPrintable(QStringLiteral("%1 bytes").arg(size))) << size;
}

void TestListReaders::fedInPieces()
{
    QFETCH(int, pieceSize);
    const QByteArray body = recordedAnswer("list-aws-subtree.xml");
    WSListStreamReader whole(m_account, m_bucket, body, BrindleLib::ListSubtree);
    whole.readDocument();

    WSListStreamReader pieces(m_account, m_bucket, QByteArray(), BrindleLib::ListSubtree);
    for (int at = 0; at < body.size(); at += pieceSize)
        pieces.addData(body.mid(at, pieceSize));
    pieces.readDocument();

    QCOMPARE(pieces.data(), body);
    QCOMPARE(paths(pieces.files()), paths(whole.files()));
    QCOMPARE(paths(pieces.folders()), paths(whole.folders()));
    QCOMPARE(cloudFile(pieces.files().last())->md5sum(), cloudFile(whole.files().last())->md5sum());
}

void TestListReaders::errorInsteadOfListing()
{
    WSListStreamReader reader(m_account, m_bucket, recordedAnswer("error-rgw-nosuchbucket.xml"),
                              BrindleLib::ListSubtree);
    reader.readDocument();
    QCOMPARE(reader.error().code(), QStringLiteral("NoSuchBucket"));
    QVERIFY(!reader.hasContent());
    QVERIFY(reader.files().isEmpty());
}

void TestListReaders::versions()
{
    const QSharedPointer<AbstractWSFolder> container =
        Driver::createChildFolder(m_bucket, QStringLiteral("letters"));
    WSListVersionsStreamReader reader(m_account, container, recordedAnswer("versions-aws.xml"),
                                      BrindleLib::ListSubtree);
    reader.readDocument();
    QVERIFY(reader.error().isNull());

    // The versions of folder objects go onto the folders.
    QVERIFY(container->exists());
    QCOMPARE(container->versionsIdList(), QList<QByteArray>{"Ll0xyDOuQ3lCg4Q3Lx2nUWGcaFRe4yFA"});
    QCOMPARE(paths(reader.folders()), QStringList{"letters/2024/"});
    const QSharedPointer<AbstractWSFolder> year = wsFolder(reader.folders().first());
    QVERIFY(year->exists());
    QCOMPARE(year->versionsIdList(), QList<QByteArray>{"m0.OD7bH6hBT4k9bI8kmBS6zi8hHvLq1"});
    QCOMPARE(year->deleteMarkerList().size(), 1);
    QCOMPARE(year->deleteMarkerList().first().versionId(),
             QByteArray("x1nO9Yyo2Qz8dPV5gHcB1XQy.7rX9vsm"));
    QVERIFY(year->deleteMarkerList().first().isLasted());

    QCOMPARE(paths(reader.files()),
             (QStringList{"letters/draft.txt", "letters/draft.txt", "letters/2024/jan.txt"}));
    const QSharedPointer<AbstractCloudFile> marked = cloudFile(reader.files().at(0));
    const QSharedPointer<AbstractCloudFile> older = cloudFile(reader.files().at(1));
    const QSharedPointer<AbstractCloudFile> january = cloudFile(reader.files().at(2));

    // A delete marker has no ETag and no size, and is an entry all the same.
    const DeleteMarker marker = marked->deleteMarker();
    QVERIFY(!marker.isNull());
    QVERIFY(marker.isLasted());
    QCOMPARE(marker.versionId(), QByteArray("3HL4kqtJl40Nr8X8gdRQBpUMLUo3jS0p"));
    QVERIFY(marked->isLatest());
    QVERIFY(marked->md5sum().isEmpty());
    QVERIFY(!marked->isDeletable());
    QCOMPARE(QUrlQuery(marked->url()).queryItemValue(QStringLiteral("versionId")),
             QStringLiteral("3HL4kqtJl40Nr8X8gdRQBpUMLUo3jS0p"));

    QVERIFY(older->deleteMarker().isNull());
    QVERIFY(!older->isLatest());

    QVERIFY(january->isLatest());
    QCOMPARE(january->versionId(), QByteArray("null"));
    QCOMPARE(january->folder(), year.staticCast<AbstractS3Folder>());
    QVERIFY(!QUrlQuery(january->url()).hasQueryItem(QStringLiteral("versionId")));

    QVERIFY(reader.isTruncated());
    QCOMPARE(reader.nextKeyMarker(), QStringLiteral("letters/2024/jan.txt"));
    QCOMPARE(reader.nextVersionIdMarker(), QByteArray("null"));
}

void TestListReaders::versionMarkers_data()
{
    QTest::addColumn<QByteArray>("tail");
    QTest::addColumn<QString>("keyMarker");
    QTest::addColumn<QByteArray>("versionMarker");

    QTest::newRow("markers given")
        << QByteArray("<IsTruncated>true</IsTruncated><NextKeyMarker>b</NextKeyMarker>"
                      "<NextVersionIdMarker>v9</NextVersionIdMarker>")
        << "b" << QByteArray("v9");
    QTest::newRow("truncated without markers goes on from the last entry")
        << QByteArray("<IsTruncated>true</IsTruncated>") << "b" << QByteArray("v2");
}

void TestListReaders::versionMarkers()
{
    QFETCH(QByteArray, tail);
    QFETCH(QString, keyMarker);
    QFETCH(QByteArray, versionMarker);

    const QByteArray body = "<ListVersionsResult><Version><Key>a</Key><VersionId>v1</VersionId>"
                            "<IsLatest>true</IsLatest></Version><DeleteMarker><Key>b</Key>"
                            "<VersionId>v2</VersionId><IsLatest>true</IsLatest></DeleteMarker>"
                            + tail + "</ListVersionsResult>";
    WSListVersionsStreamReader reader(m_account, m_bucket, body, BrindleLib::ListOneLevel);
    reader.readDocument();
    QCOMPARE(reader.files().size(), 2);
    QCOMPARE(reader.nextKeyMarker(), keyMarker);
    QCOMPARE(reader.nextVersionIdMarker(), versionMarker);
}

QTEST_GUILESS_MAIN(TestListReaders)
#include "tst_listreaders.moc"
