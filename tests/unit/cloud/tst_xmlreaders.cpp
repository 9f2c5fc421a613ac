#include <QtTest>

#include "recordedanswers.h"

#include "cloud/getservicestreamreader.h"
#include "cloud/wscopyobjectresultxmlreader.h"
#include "cloud/wsxmlstreamreader.h"
#include "items/abstractbucket.h"
#include "items/driver.h"

class TestXmlReaders : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void errorDocument_data();
    void errorDocument();
    void ownerLookup_data();
    void ownerLookup();
    void ownerDisplayName_data();
    void ownerDisplayName();
    void copyResult_data();
    void copyResult();
};

namespace {

// An account on a host of its own, so that users registered by one case are
// unknown to the others.
QSharedPointer<AbstractAccount> freshAccount(bool google, const QByteArray& accessKey = "AKIDQUORLE")
{
    static int count = 0;
    const auto provider =
        google ? AbstractAccount::GoogleStorageProvider : AbstractAccount::AmazonS3Provider;
    QSharedPointer<AbstractAccount> account = Driver::createAccount(provider, Id());
    const QString host = QStringLiteral("store.case%1.test").arg(++count);
    account->setEndpoint(Driver::createEndpoint(host, Driver::fileSystemFromProvider(provider)));
    account->setAccessKey(accessKey);
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

} // namespace

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
    QTest::addColumn<int>("expected");
    QTest::addColumn<bool>("isRegisteredOne");

    QTest::newRow("s3 known canonical user") << false << QList<int>{1} << 0 << 1 << true;
    QTest::newRow("s3 new owner keeps the asked type") << false << QList<int>{} << 0 << 0 << false;
    QTest::newRow("s3 group of the same id is not the owner") << false << QList<int>{3} << 0 << 0 << false;
    QTest::newRow("gs project group before canonical user") << true << QList<int>{1, 3} << 0 << 3 << true;
    QTest::newRow("gs new owner is a canonical user") << true << QList<int>{} << 0 << 1 << false;
    QTest::newRow("gs typed owner is made as asked") << true << QList<int>{1} << 3 << 3 << false;
}

void TestXmlReaders::ownerLookup()
{
    QFETCH(bool, google);
    QFETCH(QList<int>, registered);
    QFETCH(int, asked);
    QFETCH(int, expected);
    QFETCH(bool, isRegisteredOne);

    const QSharedPointer<AbstractAccount> account = freshAccount(google);
    const QByteArray id = "00b4f2c1e9a7d3b5c8e6f4a2d0b8c6e4a2f0d8b6c4e2a0f8d6b4c2e0a8f6d4b2";
    QHash<int, QSharedPointer<AbstractUser>> before;
    for (int type : registered)
        before.insert(type, Driver::createUser(account, AbstractUser::UserType(type), id));

    const QByteArray document = "<Owner><ID>" + id + "</ID><DisplayName>pat</DisplayName></Owner>";
    const QSharedPointer<AbstractUser> owner = readOwnerOf(account, document, AbstractUser::UserType(asked));
    QVERIFY(owner);
    QCOMPARE(int(owner->userType()), expected);
    QCOMPARE(owner->id(), id);
    QCOMPARE(owner == before.value(expected), isRegisteredOne);
    // Registered under its key: the next document names the same object.
    QCOMPARE(Driver::user(owner->key()), owner);
    QCOMPARE(readOwnerOf(account, document, AbstractUser::UserType(asked)), owner);
}

void TestXmlReaders::ownerDisplayName_data()
{
    QTest::addColumn<QString>("known");
    QTest::addColumn<QByteArray>("element");
    QTest::addColumn<QString>("expected");

    const QByteArray key = "<DisplayName>AKIDQUORLE</DisplayName>";
    QTest::newRow("new name replaces the known one") << "old" << QByteArray("<DisplayName>robin</DisplayName>")
                                                     << "robin";
    QTest::newRow("access key keeps the known name") << "robin" << key << "robin";
    QTest::newRow("access key names an unnamed user") << "" << key << "AKIDQUORLE";
    QTest::newRow("empty name replaces the known one") << "robin" << QByteArray("<DisplayName></DisplayName>") << "";
    QTest::newRow("no name element keeps the known name") << "robin" << QByteArray() << "robin";
}

void TestXmlReaders::ownerDisplayName()
{
    QFETCH(QString, known);
    QFETCH(QByteArray, element);
    QFETCH(QString, expected);

    const QSharedPointer<AbstractAccount> account = freshAccount(false);
    const QSharedPointer<AbstractUser> user = Driver::createUser(account, AbstractUser::UserById, "c0ffee");
    user->setDisplayName(known);
    const QSharedPointer<AbstractUser> owner =
        readOwnerOf(account, "<Owner><ID>c0ffee</ID>" + element + "</Owner>", AbstractUser::NoUserType);
    QCOMPARE(owner, user);
    QCOMPARE(owner->displayName(), expected);
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
