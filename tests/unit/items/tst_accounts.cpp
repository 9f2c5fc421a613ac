#include <QtTest>

#include "items/amazons3account.h"
#include "items/driver.h"
#include "items/googlestorageaccount.h"
#include "items/niftyaccount.h"

class TestAccounts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void providerTable_data();
    void providerTable();
    void mostDerivedConstructorWins();
    void portFallsBackToDefault_data();
    void portFallsBackToDefault();
    void explicitPortFollowsProtocol();
    void endpointFallsBackToStandard();
    void canonicalNames();
    void domain_data();
    void domain();
    void domainCacheFollowsHost();
    void nameFromCode_data();
    void nameFromCode();
    void hashGroupsSameKeyAndDomain();
    void cloneOfSubclassIsAmazon();
    void itemAnswers();
};

namespace {

QSharedPointer<AbstractAccount> make(int provider)
{
    return Driver::createAccount(AbstractAccount::Provider(provider), Id(QStringLiteral("id")));
}

} // namespace

void TestAccounts::providerTable_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("x");
    QTest::addColumn<QByteArray>("auth");
    QTest::addColumn<QByteArray>("scheme");
    QTest::addColumn<int>("mask");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("regions");
    QTest::addColumn<bool>("hasHost");
    QTest::addColumn<bool>("hasWebSite");

    QTest::newRow("amazon") << 0 << "AmazonS3" << QByteArray("x-amz-") << QByteArray("AWS")
                            << QByteArray("s3") << 3823 << 2 << 7 << true << true;
    QTest::newRow("google") << 1 << "GoogleCloudStorage" << QByteArray("x-goog-")
                            << QByteArray("GOOG1") << QByteArray("gs") << 260 << 3 << 2 << true
                            << true;
    QTest::newRow("connectria") << 2 << "Connectria" << QByteArray("x-amz-") << QByteArray("AWS")
                                << QByteArray("s3") << 1217 << 2 << 0 << true << true;
    QTest::newRow("cloudian") << 3 << "Cloudian" << QByteArray("x-amz-") << QByteArray("AWS")
                              << QByteArray("s3") << 1235 << 2 << 0 << false << true;
    QTest::newRow("nifty") << 4 << "Nifty" << QByteArray("x-nifty-") << QByteArray("NIFTY")
                           << QByteArray("s3") << 1223 << 2 << 1 << true << true;
    QTest::newRow("constant") << 5 << "Constant" << QByteArray("x-amz-") << QByteArray("AWS")
                              << QByteArray("s3") << 1235 << 2 << 0 << true << true;
    QTest::newRow("greenqloud") << 6 << "GreenQloud" << QByteArray("x-amz-") << QByteArray("AWS")
                                << QByteArray("s3") << 1217 << 2 << 0 << true << true;
    QTest::newRow("other") << 7 << "S3compatible" << QByteArray("x-amz-") << QByteArray("AWS")
                           << QByteArray("s3") << 1217 << 2 << 0 << true << false;
}

void TestAccounts::providerTable()
{
    QFETCH(int, provider);
    QFETCH(QString, text);
    QFETCH(QByteArray, x);
    QFETCH(QByteArray, auth);
    QFETCH(QByteArray, scheme);
    QFETCH(int, mask);
    QFETCH(int, type);
    QFETCH(int, regions);
    QFETCH(bool, hasHost);
    QFETCH(bool, hasWebSite);

    const QSharedPointer<AbstractAccount> account = make(provider);
    QVERIFY(account);
    QCOMPARE(int(account->provider()), provider);
    QCOMPARE(Driver::providerToString(account->provider()), text);
    QCOMPARE(int(Driver::providerFromString(text)), provider);
    QCOMPARE(account->x(), x);
    QCOMPARE(account->authPrefix(), auth);
    QCOMPARE(account->simplifiedScheme(), scheme);
    QCOMPARE(account->features().toInt(), mask);
    QCOMPARE(int(account->fileSystemType()), type);
    QCOMPARE(int(Driver::fileSystemFromProvider(account->provider())), type);
    QCOMPARE(account->locations().count(), regions);
    QCOMPARE(account->endpoint()->fileSystemType(), account->fileSystemType());
    QCOMPARE(!account->endpoint()->hostName().isEmpty(), hasHost);
    QCOMPARE(!account->webSite().isEmpty(), hasWebSite);
    QCOMPARE(account->defaultPort(BrindleLib::ProtocolHttp), 80);
    QCOMPARE(account->defaultPort(BrindleLib::ProtocolHttps), 443);
    // The three bits the tool reads.
    QCOMPARE(account->hasFeature(AbstractAccount::ExpectContinueFeature), bool(mask & 1));
    QCOMPARE(account->hasFeature(AbstractAccount::StorageClassFeature), bool(mask & 8));
    QCOMPARE(account->hasFeature(AbstractAccount::ServerSideEncryptionFeature), bool(mask & 32));
}

void TestAccounts::mostDerivedConstructorWins()
{
    // Nifty derives from Cloudian yet keeps its own mask and region.
    const QSharedPointer<AbstractAccount> nifty = make(AbstractAccount::NiftyProvider);
    QCOMPARE(nifty->locations().defaultRegion().code(), QByteArray("ap-japan-1a"));
    QCOMPARE(nifty->locations().nameFromCode(QString()), QStringLiteral("Japan"));
    // Constant overrides no mask: it keeps Cloudian's.
    QCOMPARE(make(AbstractAccount::ConstantProvider)->features().toInt(), 1235);
    QVERIFY(make(AbstractAccount::CloudianProvider)->locations().defaultRegion().isNull());
}

void TestAccounts::portFallsBackToDefault_data()
{
    QTest::addColumn<int>("explicitPort");
    QTest::addColumn<int>("http");
    QTest::addColumn<int>("https");
    QTest::newRow("unset") << 0 << 80 << 443;
    QTest::newRow("negative") << -5 << 80 << 443;
    QTest::newRow("set") << 8080 << 8080 << 8080;
}

void TestAccounts::portFallsBackToDefault()
{
    QFETCH(int, explicitPort);
    QFETCH(int, http);
    QFETCH(int, https);
    const QSharedPointer<AbstractAccount> account = make(AbstractAccount::AmazonS3Provider);
    account->setHttpPort(explicitPort);
    account->setHttpsPort(explicitPort);
    QCOMPARE(account->port(BrindleLib::ProtocolHttp), http);
    QCOMPARE(account->port(BrindleLib::ProtocolHttps), https);
}

void TestAccounts::explicitPortFollowsProtocol()
{
    const QSharedPointer<AbstractAccount> account = make(AbstractAccount::OtherS3Provider);
    account->setProtocol(BrindleLib::ProtocolHttps);
    account->setExplicitPort(8443);
    QCOMPARE(account->port(BrindleLib::ProtocolHttps), 8443);
    QCOMPARE(account->port(BrindleLib::ProtocolHttp), 80);
    account->setProtocol(BrindleLib::ProtocolHttp);
    account->setExplicitPort(9000);
    QCOMPARE(account->port(BrindleLib::ProtocolHttp), 9000);
    QCOMPARE(account->port(BrindleLib::ProtocolHttps), 8443);
    account->setExplicitPort(0);
    QCOMPARE(account->port(BrindleLib::ProtocolHttp), 80);
}

void TestAccounts::endpointFallsBackToStandard()
{
    const QSharedPointer<AbstractAccount> account = make(AbstractAccount::AmazonS3Provider);
    QCOMPARE(account->endpoint()->hostName(), AmazonS3Account::defaultHost());
    QCOMPARE(account->endpoint(), AmazonS3Account::defaultEndpoint());
    account->setEndpoint(Driver::createEndpoint(QStringLiteral("s3.localhost"),
                                                AbstractFS::S3FileSystem));
    QCOMPARE(account->endpoint()->hostName(), QStringLiteral("s3.localhost"));
    // The shared default endpoint is left alone.
    QCOMPARE(AmazonS3Account::defaultEndpoint()->hostName(), AmazonS3Account::defaultHost());
    account->setEndpoint(QSharedPointer<Endpoint>());
    QCOMPARE(account->endpoint()->hostName(), AmazonS3Account::defaultHost());
}

void TestAccounts::canonicalNames()
{
    const QSharedPointer<AbstractAccount> account = make(AbstractAccount::AmazonS3Provider);
    bool found = true;
    QCOMPARE(account->canonicalName(QStringLiteral("b"), found), QString());
    QVERIFY(!found);
    account->addCanonicalName(QStringLiteral("b"), QStringLiteral("one.example"));
    account->addCanonicalName(QStringLiteral("b"), QStringLiteral("two.example"));
    QCOMPARE(account->canonicalName(QStringLiteral("b"), found), QStringLiteral("two.example"));
    QVERIFY(found);
}

void TestAccounts::domain_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("domain");
    QTest::newRow("three labels") << "s3.amazonaws.com" << "amazonaws.com";
    QTest::newRow("four labels") << "a.b.c.d" << "c.d";
    QTest::newRow("bucket host") << "my.bucket.s3.amazonaws.com" << "amazonaws.com";
    QTest::newRow("two labels") << "example.com" << "example.com";
    QTest::newRow("no dot") << "localhost" << "localhost";
    QTest::newRow("address") << "127.0.0.1" << "0.1";
    QTest::newRow("empty") << "" << "";
}

void TestAccounts::domain()
{
    QFETCH(QString, host);
    QFETCH(QString, domain);
    QCOMPARE(S3Endpoint(host).domain(), domain);
}

void TestAccounts::domainCacheFollowsHost()
{
    S3Endpoint endpoint(QStringLiteral("s3.amazonaws.com"));
    QCOMPARE(endpoint.domain(), QStringLiteral("amazonaws.com"));
    endpoint.setHostName(QStringLiteral("storage.googleapis.com"));
    QCOMPARE(endpoint.domain(), QStringLiteral("googleapis.com"));
    QVERIFY(endpoint.isEqual(QSharedPointer<GSEndpoint>::create("storage.googleapis.com")));
    QVERIFY(!endpoint.isEqual(QSharedPointer<GSEndpoint>::create("Storage.googleapis.com")));
    QVERIFY(!endpoint.isEqual(QSharedPointer<Endpoint>()));
}

void TestAccounts::nameFromCode_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("name");
    QTest::newRow("amazon default") << 0 << "" << "US Standard";
    QTest::newRow("amazon listed") << 0 << "EU" << "Europe - Ireland";
    QTest::newRow("amazon last") << 0 << "sa-east-1" << "South America - Sao Paulo";
    QTest::newRow("amazon unknown") << 0 << "eu-central-1" << "eu-central-1";
    QTest::newRow("google empty") << 1 << "" << "United States";
    QTest::newRow("google listed") << 1 << "EU" << "Europe";
    QTest::newRow("no regions empty") << 3 << "" << "";
    QTest::newRow("no regions code") << 3 << "EU" << "EU";
}

void TestAccounts::nameFromCode()
{
    QFETCH(int, provider);
    QFETCH(QString, code);
    QFETCH(QString, name);
    QCOMPARE(make(provider)->locations().nameFromCode(code), name);
}

void TestAccounts::hashGroupsSameKeyAndDomain()
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
    QCOMPARE(byAccount.value(a), 1);

    b->setAccessKey("OTHER");
    QVERIFY(qHash(a, 7) != qHash(b, 7));
}

void TestAccounts::cloneOfSubclassIsAmazon()
{
    const QSharedPointer<AbstractAccount> cloudian = make(AbstractAccount::CloudianProvider);
    cloudian->setAccessKey("AK");
    cloudian->setName(QStringLiteral("mine"));
    cloudian->setHttpPort(9000);
    const QSharedPointer<AbstractAccount> copy = cloudian->clone().staticCast<AbstractAccount>();
    QCOMPARE(copy->provider(), AbstractAccount::AmazonS3Provider);
    QCOMPARE(copy->accessKey(), QByteArray("AK"));
    QCOMPARE(copy->features().toInt(), 1235);
    QCOMPARE(copy->port(BrindleLib::ProtocolHttp), 9000);
    QCOMPARE(copy->id().toString(), QStringLiteral("id"));
    cloudian->setName(QStringLiteral("changed"));
    QCOMPARE(copy->displayName(), QStringLiteral("mine"));

    const QSharedPointer<AbstractAccount> google = make(AbstractAccount::GoogleStorageProvider);
    google.staticCast<GoogleStorageAccount>()->setProjectId("p1");
    QCOMPARE(google->clone().staticCast<GoogleStorageAccount>()->projectId(), QByteArray("p1"));
}

void TestAccounts::itemAnswers()
{
    const QSharedPointer<AbstractAccount> s3 = make(AbstractAccount::NiftyProvider);
    s3->setName(QStringLiteral("work"));
    QCOMPARE(s3->itemType(), AbstractItem::AccountItem);
    QCOMPARE(s3->fileSystemClass(), AbstractFS::CloudClass);
    QVERIFY(s3->isVirtual() && s3->isRootItem() && !s3->isDeletable());
    QCOMPARE(s3->displayPath(), QString());
    QVERIFY(!make(8));
}

QTEST_GUILESS_MAIN(TestAccounts)
#include "tst_accounts.moc"
