#include <QtTest>

#include "cloud/getservicestreamreader.h"
#include "cloud/wscopyobjectresultxmlreader.h"
#include "cloud/wsliststreamreader.h"
#include "cloud/wslistversionsstreamreader.h"
#include "cloud/wsxmlstreamreader.h"
#include "items/filteritem.h"
#include "items/abstractbucket.h"
#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/driver.h"

// The readers of the store's documents: listings and versions, error
// documents, owners and copy results, from answers recorded in data/.
class TestXmlReaders : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void subtreeRebuilt();
    void pages_data();
    void pages();
    void pagesShareFolders();
    void fileModeLookAlikes();
    void versions();
    void versionMarkersFromTheLastEntry();
    void errorDocument_data();
    void errorDocument();
    void ownerLookup_data();
    void ownerLookup();
    void copyResult_data();
    void copyResult();

private:
    QSharedPointer<AbstractAccount> m_account;
    QSharedPointer<AbstractS3Folder> m_bucket;
};

namespace {

QByteArray recordedAnswer(const QString& name)
{
    QFile file(QFINDTESTDATA(QStringLiteral("data/") + name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("recorded answer %s is missing", qPrintable(name));
    return file.readAll();
}

QDateTime utc(int y, int mo, int d, int h, int mi, int s, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::UTC);
}

// An account on a host of its own, so that users registered by one case are
// unknown to the others.
QSharedPointer<AbstractAccount> freshAccount(bool google)
{
    static int count = 0;
    const auto provider = google ? AbstractAccount::GoogleStorageProvider : AbstractAccount::AmazonS3Provider;
    QSharedPointer<AbstractAccount> account = Driver::createAccount(provider, Id());
    const QString host = QStringLiteral("store.case%1.test").arg(++count);
    account->setEndpoint(Driver::createEndpoint(host, Driver::fileSystemFromProvider(provider)));
    return account;
}

// Reads the "Owner" element of document through reader's readOwner.
QSharedPointer<AbstractUser> readOwnerOf(const QSharedPointer<AbstractAccount>& account,
                                         const QByteArray& document, AbstractUser::UserType type)
{
    WSXmlStreamReader reader(account, document);
    while (reader.readNextStartElement()) {
        if (reader.name() == WSXmlStreamReader::_ownerXmlElement)
            return reader.readOwner(type);
    }
    return QSharedPointer<AbstractUser>();
}


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

// Folders (+ for those with an object, ~ for common prefixes) | files | where
// the next page starts | the error, if any.
QString summary(const WSListStreamReader& reader)
{
    QStringList folders;
    for (const QSharedPointer<AbstractFolder>& folder : reader.folders())
        folders << folder->path() + (wsFolder(folder)->exists() ? "+" : "")
                       + (wsFolder(folder)->isCommonPrefix() ? "~" : "");
    const QString next = reader.isTruncated() ? "more after " + reader.nextMarker()
                                              : QString("end " + reader.nextMarker()).trimmed();
    const QString text = folders.join(' ') + " | " + paths(reader.files()).join(' ') + " | " + next;
    return reader.error().isNull() ? text : text + " | " + reader.error().code();
}

} // namespace

void TestXmlReaders::initTestCase()
{
    m_account = Driver::createAccount(AbstractAccount::AmazonS3Provider, Id(QStringLiteral("t")));
    m_account->setEndpoint(Driver::createEndpoint(QStringLiteral("s3.localhost"),
                                                  AbstractFS::S3FileSystem));
    m_bucket = Driver::createBucketItem(QStringLiteral("photo-archive"), QDateTime(), m_account);
}

void TestXmlReaders::subtreeRebuilt()
{
    const QSharedPointer<AbstractWSFolder> container = Driver::createChildFolder(m_bucket, "2023");
    WSListStreamReader reader(m_account, container, recordedAnswer("list-aws-subtree.xml"), BrindleLib::ListSubtree);
    reader.readDocument();
    // The key of the listed folder itself marks it and is nothing else.
    QVERIFY(container->exists());
    QCOMPARE(summary(reader), QString::fromUtf8("2023/trip/+ 2023/trip/day1/ | 2023/cover.jpg 2023/trip/day1/beach.jpg "
                                                "2023/trip/day1/dunes.jpg 2023/trip/notes & plans été.txt | end"));
    const QSharedPointer<AbstractWSFolder> trip = wsFolder(reader.folders().at(0));
    const QSharedPointer<AbstractWSFolder> day1 = wsFolder(reader.folders().at(1));
    QCOMPARE(day1->parent(), trip.staticCast<AbstractS3Folder>());
    const auto files = reader.files();
    const QSharedPointer<AbstractCloudFile> beach = cloudFile(files.at(1));
    QCOMPARE(beach->folder(), day1.staticCast<AbstractS3Folder>());
    QCOMPARE(cloudFile(files.at(3))->folder(), trip.staticCast<AbstractS3Folder>());
    QCOMPARE(beach->size(), qint64(1204391));
    QCOMPARE(beach->md5sum(), QByteArray::fromHex("e4d909c290d0fb1ca068ffaddf22cbd0"));
    QCOMPARE(beach->storageClass(), StorageDirective::ReducedRedundancyStorage);
    QCOMPARE(cloudFile(files.at(0))->lastModified().toUTC(), utc(2023, 4, 2, 9, 16, 44, 512));
    // A multi-part ETag never equals a digest; plain quotes read like references.
    QCOMPARE(cloudFile(files.at(2))->md5sum().size(), 17);
    QCOMPARE(cloudFile(files.at(3))->md5sum(), QByteArray::fromHex("0cc175b9c0f1b6a831c399e269772661"));
}

void TestXmlReaders::pages_data()
{
    QTest::addColumn<QString>("container");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");

    const int level = BrindleLib::ListOneLevel;
    const int subtree = BrindleLib::ListSubtree;
    const QByteArray truncated = "<IsTruncated>true</IsTruncated>";
    QTest::newRow("rgw one level: prefixes first, marker last")
        << "docs" << level << recordedAnswer("list-rgw-onelevel.xml")
        << "docs/drafts/~ docs/reports/~ | docs/budget.ods | more after docs/reports/";
    QTest::newRow("folder object at one level, empty prefix")
        << "" << level
        << QByteArray("<ListBucketResult><Contents><Key>photos/</Key><Size>0</Size></Contents><CommonPrefixes>"
                      "<Prefix>music/</Prefix></CommonPrefixes><CommonPrefixes><Prefix></Prefix></CommonPrefixes>"
                      "</ListBucketResult>")
        << "photos/+ music/~ |  | end";
    // A store that sorts "/" differently may name a key below a folder
    // before the folder's own object.
    QTest::newRow("deeper key before the folder object") << "" << subtree << listing({"a/b/c", "a/b/", "a/d"})
                                                         << "a/ a/b/+ | a/b/c a/d | end";
    QTest::newRow("next marker given")
        << "" << subtree << listing({"k1", "k2"}, truncated + "<NextMarker>k2/</NextMarker>")
        << " | k1 k2 | more after k2/";
    QTest::newRow("truncated without next marker: from the last key")
        << "" << subtree << listing({"k1", "k2"}, truncated) << " | k1 k2 | more after k2";
    QTest::newRow("rgw marker last is no next marker")
        << "" << subtree << listing({"k2"}, truncated).replace("</List", "<Marker>k0</Marker></List")
        << " | k2 | more after k2";
    QTest::newRow("complete page with next marker")
        << "" << subtree << listing({"k1"}, "<IsTruncated>false</IsTruncated><NextMarker>k1</NextMarker>")
        << " | k1 | end k1";
    // Every row is read with *.tmp excluded.
    QTest::newRow("filter skips files only") << "" << subtree
                                             << listing({"cache.tmp/", "cache.tmp/a.tmp", "cache.tmp/b.txt", "c.tmp"})
                                             << "cache.tmp/+ | cache.tmp/b.txt | end";
    const QByteArray whole = recordedAnswer("list-aws-subtree.xml");
    QTest::newRow("cut document keeps what was read")
        << "2023" << subtree << whole.left(whole.indexOf("<Key>2023/trip/day1/dunes.jpg"))
        << "2023/trip/+ 2023/trip/day1/ | 2023/cover.jpg 2023/trip/day1/beach.jpg | end";
    QTest::newRow("error instead of listing") << "" << subtree << recordedAnswer("error-rgw-nosuchbucket.xml")
                                              << " |  | end | NoSuchBucket";
}

void TestXmlReaders::pages()
{
    QFETCH(QString, container);
    QFETCH(int, mode);
    QFETCH(QByteArray, body);
    QFETCH(QString, expected);

    Filter filter;
    filter.append(QSharedPointer<FileNameFilterItem>::create(
        AbstractFilterItem::Exclude, QRegExp(QStringLiteral("*.tmp"), Qt::CaseSensitive, QRegExp::Wildcard)));
    const QSharedPointer<AbstractS3Folder> folder =
        container.isEmpty() ? m_bucket : Driver::createChildFolder(m_bucket, container);
    WSListStreamReader reader(m_account, folder, body, BrindleLib::EntryListMode(mode), filter);
    reader.readDocument();
    QCOMPARE(summary(reader), expected);
    // Fed a byte at a time, as the network may, it reads the same.
    WSListStreamReader pieces(m_account, folder, QByteArray(), BrindleLib::EntryListMode(mode), filter);
    for (const char byte : body)
        pieces.addData(QByteArray(1, byte));
    pieces.readDocument();
    QCOMPARE(summary(pieces), expected);
}

void TestXmlReaders::pagesShareFolders()
{
    const QSharedPointer<AbstractWSFolder> container = Driver::createChildFolder(m_bucket, "src");
    WSListStreamReader first(m_account, container, recordedAnswer("list-s3rver-page1.xml"), BrindleLib::ListSubtree);
    first.readDocument();
    QCOMPARE(summary(first), "src/lib/ | src/lib/a.c src/lib/b.c src/lib/c.c | more after src/lib/c.c");

    // With the first page's folders the second names only its new ones, below them.
    WSListStreamReader shared(m_account, container, recordedAnswer("list-s3rver-page2.xml"), BrindleLib::ListSubtree);
    shared.setFolderMap(first.folderMap());
    shared.readDocument();
    QCOMPARE(summary(shared), "src/lib/sub/+ | src/lib/d.c src/main.c | end");
    const QSharedPointer<AbstractS3Folder> lib = wsFolder(first.folders().first());
    QCOMPARE(wsFolder(shared.folders().first())->parent(), lib);
    QCOMPARE(cloudFile(shared.files().first())->folder(), lib);
}

// Asked about one file, the listing also names the keys that begin alike.
void TestXmlReaders::fileModeLookAlikes()
{
    WSListStreamReader reader(m_account, Driver::createChildFolder(m_bucket, "dir"),
                              listing({"dir/x", "dir/x.bak"}, "<CommonPrefixes><Prefix>dir/x/</Prefix>"
                                                                 "</CommonPrefixes>"),
                              BrindleLib::ListOneLevel);
    reader.readDocument();
    reader.retainKey("dir/x");
    QCOMPARE(paths(reader.files()), QStringList{"dir/x"});
}

void TestXmlReaders::versions()
{
    const QSharedPointer<AbstractWSFolder> container = Driver::createChildFolder(m_bucket, "letters");
    WSListVersionsStreamReader reader(m_account, container, recordedAnswer("versions-aws.xml"),
                                      BrindleLib::ListSubtree);
    reader.readDocument();
    // The versions of folder objects go onto the folders.
    QCOMPARE(container->versionsIdList(), QList<QByteArray>{"Ll0xyDOuQ3lCg4Q3Lx2nUWGcaFRe4yFA"});
    QCOMPARE(paths(reader.folders()), QStringList{"letters/2024/"});
    const QSharedPointer<AbstractWSFolder> year = wsFolder(reader.folders().first());
    QCOMPARE(year->versionsIdList(), QList<QByteArray>{"m0.OD7bH6hBT4k9bI8kmBS6zi8hHvLq1"});
    QCOMPARE(year->deleteMarkerList().size(), 1);
    QVERIFY(year->deleteMarkerList().first().isLasted());

    QCOMPARE(paths(reader.files()), (QStringList{"letters/draft.txt", "letters/draft.txt", "letters/2024/jan.txt"}));
    const QSharedPointer<AbstractCloudFile> marked = cloudFile(reader.files().at(0));
    const QSharedPointer<AbstractCloudFile> older = cloudFile(reader.files().at(1));
    const QSharedPointer<AbstractCloudFile> january = cloudFile(reader.files().at(2));

    // A delete marker has no ETag and no size, and is an entry all the same.
    QVERIFY(marked->deleteMarker().isLasted() && marked->isLatest() && !marked->isDeletable());
    QCOMPARE(QUrlQuery(marked->url()).queryItemValue("versionId"), QStringLiteral("3HL4kqtJl40Nr8X8gdRQBpUMLUo3jS0p"));
    QVERIFY(older->deleteMarker().isNull() && !older->isLatest());
    // The "null" version of an unversioned key is no version to ask for.
    QVERIFY(january->isLatest());
    QCOMPARE(january->folder(), year.staticCast<AbstractS3Folder>());
    QVERIFY(!QUrlQuery(january->url()).hasQueryItem("versionId"));

    QVERIFY(reader.isTruncated() && reader.error().isNull());
    QCOMPARE(reader.nextKeyMarker(), QStringLiteral("letters/2024/jan.txt"));
    QCOMPARE(reader.nextVersionIdMarker(), QByteArray("null"));
}

void TestXmlReaders::versionMarkersFromTheLastEntry()
{
    const QByteArray body = "<ListVersionsResult><IsTruncated>true</IsTruncated><Version><Key>a</Key><VersionId>v1"
                            "</VersionId></Version><DeleteMarker><Key>b</Key><VersionId>v2</VersionId></DeleteMarker>"
                            "</ListVersionsResult>";
    WSListVersionsStreamReader reader(m_account, m_bucket, body, BrindleLib::ListOneLevel);
    reader.readDocument();
    QCOMPARE(reader.files().size(), 2);
    QCOMPARE(reader.nextKeyMarker(), QStringLiteral("b"));
    QCOMPARE(reader.nextVersionIdMarker(), QByteArray("v2"));
}

void TestXmlReaders::errorDocument_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("error"); // code | message | endpoint, empty for no error
    QTest::addColumn<QString>("detailLine"); // a line of the indented detail; none when empty

    QTest::newRow("aws redirect with endpoint")
        << recordedAnswer("error-aws-redirect.xml")
        << "PermanentRedirect | The bucket you are attempting to access must be addressed using the endpoint "
           "below. Please send all future requests to it. | photo-archive.s3-eu-west-1.amazonaws.com"
        << " <RequestId>4442587FB7D0A2F9</RequestId>";
    QTest::newRow("rgw empty message") << recordedAnswer("error-rgw-nosuchbucket.xml") << "NoSuchBucket |  | "
                                       << " <BucketName>missing</BucketName>";
    QTest::newRow("no message element") << QByteArray("<Error><Code>AccessDenied</Code><RequestId>7D</RequestId>"
                                                      "</Error>")
                                        << "AccessDenied |  | " << " <Code>AccessDenied</Code>";
    QTest::newRow("namespace prefix")
        << QByteArray("<s3:Error xmlns:s3=\"http://s3.amazonaws.com/doc/2006-03-01/\"><s3:Code>SignatureDoesNotMatch"
                      "</s3:Code><s3:Message>No match.</s3:Message><s3:Endpoint>s3.localhost</s3:Endpoint></s3:Error>")
        << "SignatureDoesNotMatch | No match. | s3.localhost" << " <s3:Code>SignatureDoesNotMatch</s3:Code>";
    QTest::newRow("numeric character references")
        << QByteArray("<Error><Code>InvalidArgument</Code><Message>Can&#39;t copy &#x201C;caf&#233;&#x201D; &amp; "
                      "keep it</Message></Error>")
        << QString::fromUtf8("InvalidArgument | Can't copy \u201Ccaf\u00E9\u201D & keep it | ")
        << " <Code>InvalidArgument</Code>";
    // What was read up to the break stands; the detail needs a whole document.
    QTest::newRow("cut inside an error") << QByteArray("<Error><Code>SlowDown</Code><Message>Please re")
                                         << "SlowDown |  | " << "";
    QTest::newRow("empty body") << QByteArray() << "" << "";
    QTest::newRow("html of a proxy")
        << QByteArray("<html><head><title>502 Bad Gateway</title></head><body><h1>Error</h1></body></html>") << ""
        << "";
    QTest::newRow("result document") << recordedAnswer("service-aws.xml") << "" << "";
}

void TestXmlReaders::errorDocument()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, error);
    QFETCH(QString, detailLine);

    WSXmlStreamReader reader(freshAccount(false), body);
    reader.readDocument();
    const OpError got = reader.error();
    QCOMPARE(got.isNull() ? QString() : got.code() + " | " + got.message() + " | " + got.endPoint(), error);
    QCOMPARE(got.type(), error.isEmpty() ? OpError::NoError : OpError::ServiceError);
    if (detailLine.isEmpty())
        QCOMPARE(got.detail(), QString());
    else
        QVERIFY2(got.detail().contains('\n' + detailLine + '\n'), qPrintable(got.detail()));
}

void TestXmlReaders::ownerLookup_data()
{
    QTest::addColumn<bool>("google");
    QTest::addColumn<QList<int>>("registered");
    QTest::addColumn<int>("asked");
    QTest::addColumn<QString>("expected"); // the owner's type, and whether it is one registered before

    QTest::newRow("s3 known canonical user") << false << QList<int>{1} << 0 << "1 known";
    QTest::newRow("s3 new owner keeps the asked type") << false << QList<int>{} << 0 << "0 new";
    QTest::newRow("s3 group of the same id is not the owner") << false << QList<int>{3} << 0 << "0 new";
    QTest::newRow("gs project group before canonical user") << true << QList<int>{1, 3} << 0 << "3 known";
    QTest::newRow("gs new owner is a canonical user") << true << QList<int>{} << 0 << "1 new";
    QTest::newRow("gs typed owner is made as asked") << true << QList<int>{1} << 3 << "3 new";
}

void TestXmlReaders::ownerLookup()
{
    QFETCH(bool, google);
    QFETCH(QList<int>, registered);
    QFETCH(int, asked);
    QFETCH(QString, expected);

    const QSharedPointer<AbstractAccount> account = freshAccount(google);
    const QByteArray id = "00b4f2c1e9a7d3b5c8e6f4a2d0b8c6e4a2f0d8b6c4e2a0f8d6b4c2e0a8f6d4b2";
    QHash<int, QSharedPointer<AbstractUser>> before;
    for (int type : registered)
        before.insert(type, Driver::createUser(account, AbstractUser::UserType(type), id));

    const QByteArray document = "<Owner><ID>" + id + "</ID><DisplayName>pat</DisplayName></Owner>";
    const QSharedPointer<AbstractUser> owner = readOwnerOf(account, document, AbstractUser::UserType(asked));
    QVERIFY(owner);
    QCOMPARE(owner->id(), id);
    QCOMPARE(QString::number(owner->userType()) + (before.values().contains(owner) ? " known" : " new"), expected);
    // Registered under its key: the next document names the same object.
    QCOMPARE(Driver::user(owner->key()), owner);
    QCOMPARE(readOwnerOf(account, document, AbstractUser::UserType(asked)), owner);
}

void TestXmlReaders::copyResult_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("eTag");
    QTest::addColumn<QDateTime>("lastModified");

    const QByteArray md5 = QByteArray::fromHex("9b2cf535f27731c974343645a3985328");
    QTest::newRow("rgw, quotes as references, milliseconds")
        << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?><CopyObjectResult xmlns=\"http://s3.amazonaws.com/"
                      "doc/2006-03-01/\"><LastModified>2024-05-06T08:01:02.345Z</LastModified><ETag>&quot;"
                      "9b2cf535f27731c974343645a3985328&quot;</ETag></CopyObjectResult>")
        << md5 << utc(2024, 5, 6, 8, 1, 2, 345);
    QTest::newRow("etag without quotes")
        << QByteArray("<CopyObjectResult><ETag>9b2cf535f27731c974343645a3985328</ETag><LastModified>"
                      "2024-05-06T08:01:02Z</LastModified></CopyObjectResult>")
        << md5 << utc(2024, 5, 6, 8, 1, 2);
    // Decoded as far as it goes: 17 bytes, which no digest equals.
    QTest::newRow("multi-part etag")
        << QByteArray("<CopyObjectResult><ETag>\"9b2cf535f27731c974343645a3985328-2\"</ETag></CopyObjectResult>")
        << QByteArray::fromHex("9b2cf535f27731c974343645a39853282") << QDateTime();
}

void TestXmlReaders::copyResult()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, eTag);
    QFETCH(QDateTime, lastModified);

    WSCopyObjectResultXmlReader reader(freshAccount(false), body);
    reader.readDocument();
    QVERIFY(reader.error().isNull());
    QCOMPARE(reader.eTag(), eTag);
    QCOMPARE(reader.lastModified(), lastModified);
}

QTEST_GUILESS_MAIN(TestXmlReaders)
#include "tst_xmlreaders.moc"
