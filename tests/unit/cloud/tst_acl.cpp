#include <QtTest>

#include "cloud/acldirective.h"
#include "cloud/getcloudfileacloperation.h"
#include "cloud/puts3acloperation.h"
#include "items/abstractbucket.h"
#include "items/abstractcloudfile.h"
#include "items/driver.h"

using Permissions = AbstractAcl::Permissions;
using Provider = AbstractAccount::Provider;

// Access control lists: the two document dialects, their well-known forms,
// and the requests that read and write them.
class TestAcl : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void s3Grants_data();
    void s3Grants();
    void googleEntries_data();
    void googleEntries();
    void canned_data();
    void canned();
    void putRequest_data();
    void putRequest();
    void getAnswer_data();
    void getAnswer();
};

namespace {

QSharedPointer<AbstractAccount> account(Provider provider)
{
    QSharedPointer<AbstractAccount> result = Driver::createAccount(provider, Id());
    result->setAccessKey("key");
    Driver::instance()->createAccountUsers(result);
    return result;
}

QSharedPointer<AbstractUser> user(const QSharedPointer<AbstractAccount>& owner, int type, const QByteArray& id)
{
    return Driver::createUser(owner, AbstractUser::UserType(type), id);
}

QSharedPointer<AbstractUser> everybody(const QSharedPointer<AbstractAccount>& owner, int type)
{
    return type == AbstractUser::AllUsers ? Driver::allUsersGroupByDomain(owner)
                                          : Driver::allAuthenticatedUsersGroupByDomain(owner);
}

// The texts of every element called name, in document order.
QStringList texts(const QByteArray& xml, const QString& name)
{
    QStringList found;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == name)
            found << reader.readElementText(QXmlStreamReader::IncludeChildElements);
    }
    return found;
}

// The "type" attributes of the Scope elements; "-" for a scope without one.
QStringList scopeTypes(const QByteArray& xml)
{
    QStringList found;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("Scope")) {
            const QStringView type = reader.attributes().value(QStringLiteral("type"));
            found << (type.isEmpty() ? QStringLiteral("-") : type.toString());
        }
    }
    return found;
}

QSharedPointer<AbstractAcl> reread(const QSharedPointer<AbstractAcl>& acl)
{
    const QSharedPointer<AbstractAcl> copy = AbstractAcl::create(acl->account());
    copy->readXml(acl->toXml());
    return copy;
}

} // namespace

void TestAcl::s3Grants_data()
{
    QTest::addColumn<int>("userType");
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<int>("flags");
    QTest::addColumn<QStringList>("permissions");

    const int rw = AbstractAcl::ReadPermission | AbstractAcl::WritePermission;
    QTest::newRow("read and write: two grants") << 1 << QByteArray("c0ffee01") << rw
                                                << QStringList{"READ", "WRITE"};
    QTest::newRow("all four: one full control") << 1 << QByteArray("c0ffee02") << 15 << QStringList{"FULL_CONTROL"};
    QTest::newRow("three of four: one grant each") << 1 << QByteArray("c0ffee03") << 13
                                                   << QStringList{"READ", "READ_ACP", "WRITE_ACP"};
    QTest::newRow("everybody by URI") << int(AbstractUser::AllUsers) << QByteArray() << 1 << QStringList{"READ"};
    QTest::newRow("another group by URI") << int(AbstractUser::GroupByUri)
                                          << QByteArray("http://acs.amazonaws.com/groups/s3/LogDelivery") << 2
                                          << QStringList{"WRITE"};
    QTest::newRow("e-mail grantee") << int(AbstractUser::UserByEmail) << QByteArray("robin@example.com") << 8
                                    << QStringList{"WRITE_ACP"};
}

// A document written from a list reads back into the same users with the
// same rights, whatever the dialect's one-right-per-grant splitting did.
void TestAcl::s3Grants()
{
    QFETCH(int, userType);
    QFETCH(QByteArray, id);
    QFETCH(int, flags);
    QFETCH(QStringList, permissions);

    for (const Provider provider : {AbstractAccount::AmazonS3Provider, AbstractAccount::NiftyProvider}) {
        const auto store = account(provider);
        const auto grantee = id.isEmpty() ? everybody(store, userType) : user(store, userType, id);
        const auto owner = user(store, AbstractUser::UserById, "0wner");
        owner->setDisplayName(QStringLiteral("Robin"));
        auto acl = AbstractAcl::create(store);
        acl->setOwner(owner);
        acl->set(grantee, Permissions(flags));

        const QByteArray xml = acl->toXml();
        QCOMPARE(texts(xml, QStringLiteral("Permission")), permissions);
        QCOMPARE(texts(xml, QStringLiteral("DisplayName")), QStringList{"Robin"});
        const QString ns = provider == AbstractAccount::NiftyProvider ? "http://s3.nifty.com/doc/2011-09-29/"
                                                                      : "http://s3.amazonaws.com/doc/2006-03-01/";
        QVERIFY2(xml.contains("xmlns=\"" + ns.toLatin1() + '"'), xml.constData());

        const auto back = reread(acl);
        QCOMPARE(back->owner(), owner);
        QCOMPARE(back->userCount(), 1);
        QCOMPARE(int(back->permissions(grantee)), flags);
    }
}

void TestAcl::googleEntries_data()
{
    QTest::addColumn<int>("userType");
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<int>("flags");
    QTest::addColumn<QString>("scope");
    QTest::addColumn<QString>("permission");
    QTest::addColumn<int>("typeBack");
    QTest::addColumn<int>("flagsBack");

    const int read = AbstractAcl::ReadPermission;
    const int write = AbstractAcl::WritePermission;
    QTest::newRow("write-acp alone is the top rung") << 1 << QByteArray("g1") << 8 << "UserById"
                                                     << "FULL_CONTROL" << 1 << 15;
    QTest::newRow("write alone implies read") << 1 << QByteArray("g2") << write << "UserById" << "WRITE" << 1
                                              << (read | write);
    QTest::newRow("read") << 2 << QByteArray("g@example.com") << read << "UserByEmail" << "READ" << 2 << read;
    QTest::newRow("group by e-mail comes back by id")
        << int(AbstractUser::GroupByEmail) << QByteArray("team@example.com") << read << "GroupById" << "READ"
        << int(AbstractUser::GroupById) << read;
    QTest::newRow("group by URI has no scope type") << int(AbstractUser::GroupByUri) << QByteArray("u") << read
                                                    << "-" << "READ" << 0 << read;
    QTest::newRow("everybody") << int(AbstractUser::AllUsers) << QByteArray() << read << "AllUsers" << "READ"
                               << int(AbstractUser::AllUsers) << read;
}

// Google's rights are a ladder and its scope types are not all symmetric:
// what is read back is the rung and the type the store would report.
void TestAcl::googleEntries()
{
    QFETCH(int, userType);
    QFETCH(QByteArray, id);
    QFETCH(int, flags);
    QFETCH(QString, scope);
    QFETCH(QString, permission);
    QFETCH(int, typeBack);
    QFETCH(int, flagsBack);

    const auto store = account(AbstractAccount::GoogleStorageProvider);
    const auto grantee = id.isEmpty() ? everybody(store, userType) : user(store, userType, id);
    auto acl = AbstractAcl::create(store);
    acl->setOwner(user(store, AbstractUser::GroupById, "project-owners"));
    acl->set(grantee, Permissions(flags));

    const QByteArray xml = acl->toXml();
    QCOMPARE(scopeTypes(xml), QStringList{scope});
    QCOMPARE(texts(xml, QStringLiteral("Permission")), QStringList{permission});

    const auto back = reread(acl);
    QCOMPARE(back->owner(), acl->owner());
    QCOMPARE(back->userCount(), 1);
    const auto readUser = back->permissions().keys().first();
    QCOMPARE(int(readUser->userType()), typeBack);
    QCOMPARE(readUser->id(), typeBack == 0 ? QByteArray() : grantee->id());
    QCOMPARE(int(back->permissions(readUser)), flagsBack);
}

void TestAcl::canned_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<int>("groupType"); // 0: no second user; -1: another user
    QTest::addColumn<int>("groupFlags");
    QTest::addColumn<int>("ownerFlags");
    QTest::addColumn<int>("canned");

    for (const int provider : {int(AbstractAccount::AmazonS3Provider), int(AbstractAccount::GoogleStorageProvider)}) {
        const QByteArray p = Driver::providerToString(Provider(provider)).toLatin1() + ": ";
        const int all = AbstractUser::AllUsers;
        const int signedIn = AbstractUser::AllAuthenticatedUsers;
        QTest::newRow(p + "owner alone") << provider << 0 << 0 << 15 << int(AbstractAcl::PrivateAcl);
        QTest::newRow(p + "owner without all rights") << provider << 0 << 0 << 7 << 0;
        QTest::newRow(p + "everybody reads") << provider << all << 1 << 15 << int(AbstractAcl::PublicReadAcl);
        QTest::newRow(p + "everybody writes") << provider << all << 3 << 15 << int(AbstractAcl::PublicReadWriteAcl);
        QTest::newRow(p + "signed-in users read") << provider << signedIn << 1 << 15 << int(AbstractAcl::AuthenticatedReadAcl);
        QTest::newRow(p + "everybody reads the ACL too") << provider << all << 5 << 15 << 0;
        QTest::newRow(p + "another user") << provider << -1 << 1 << 15 << 0;
    }
}

// The well-known forms are found both on a list built here and on one read
// back from its document, where the owner's grant names the owner again.
void TestAcl::canned()
{
    QFETCH(int, provider);
    QFETCH(int, groupType);
    QFETCH(int, groupFlags);
    QFETCH(int, ownerFlags);
    QFETCH(int, canned);

    const auto store = account(Provider(provider));
    const bool google = provider == AbstractAccount::GoogleStorageProvider;
    const auto owner = user(store, google ? AbstractUser::GroupById : AbstractUser::UserById,
                            QByteArray("owner-") + QTest::currentDataTag());
    auto acl = AbstractAcl::create(store);
    acl->setOwner(owner);
    acl->set(owner, Permissions(ownerFlags));
    if (groupType > 0)
        acl->set(everybody(store, groupType), Permissions(groupFlags));
    else if (groupType < 0)
        acl->set(user(store, AbstractUser::UserById, "someone-else"), Permissions(groupFlags));

    QCOMPARE(int(acl->canned()), canned);
    // Google's ladder keeps only its rungs; other rights change on the way.
    const auto onRung = [](int flags) { return flags == 0 || flags == 1 || flags == 3 || flags == 15; };
    if (!google || (onRung(ownerFlags) && onRung(groupFlags)))
        QCOMPARE(int(reread(acl)->canned()), canned);
}

void TestAcl::putRequest_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<bool>("custom");
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("query");

    QTest::newRow("S3 canned") << int(AbstractAccount::AmazonS3Provider) << false << QByteArray() << QByteArray("x-amz-acl")
                               << "acl";
    QTest::newRow("Google canned") << int(AbstractAccount::GoogleStorageProvider) << false << QByteArray()
                                   << QByteArray("x-goog-acl") << "acl";
    QTest::newRow("S3 custom, a version") << int(AbstractAccount::AmazonS3Provider) << true << QByteArray("v1")
                                          << QByteArray("x-amz-acl") << "acl&versionId=v1";
    QTest::newRow("Google custom") << int(AbstractAccount::GoogleStorageProvider) << true << QByteArray()
                                   << QByteArray("x-goog-acl") << "acl";
}

// A canned list travels in the provider's header with no body; any other as
// a document. The "acl" word is in the address and in what is signed, in
// front of a version query. The list sent is the item owner's and leaves the
// caller's list alone.
void TestAcl::putRequest()
{
    QFETCH(int, provider);
    QFETCH(bool, custom);
    QFETCH(QByteArray, version);
    QFETCH(QByteArray, header);
    QFETCH(QString, query);

    const auto store = account(Provider(provider));
    const auto bucket = Driver::createBucketItem(QStringLiteral("photos"), QDateTime(), store);
    const bool google = provider == AbstractAccount::GoogleStorageProvider;
    // Google's objects are owned by a project's group.
    const auto itemOwner = user(store, google ? AbstractUser::GroupById : AbstractUser::UserById, "item-owner");
    const auto file = Driver::createFile(QStringLiteral("a b.jpg"), 1, QDateTime(), QByteArray(), bucket,
                                         version.isEmpty(), version, itemOwner, StorageDirective::StandardStorage);
    const auto reader = user(store, AbstractUser::UserById, "reader");
    auto acl = AbstractAcl::create(store);
    acl->setOwner(user(store, AbstractUser::UserById, "former-owner"));
    acl->set(itemOwner, AbstractAcl::FullControlPermission);
    if (custom)
        acl->set(reader, AbstractAcl::ReadPermission | AbstractAcl::WritePermission);

    PutS3FileAclAtomicOperation put(nullptr, file, acl);
    QCOMPARE(put.url().query(), query);
    QCOMPARE(put.canonicalizedResource().query(), query);
    QCOMPARE(put.canonicalizedResource().path(), QStringLiteral("/photos/a b.jpg"));
    QCOMPARE(put.acl()->owner(), itemOwner);
    QCOMPARE(acl->owner()->id(), QByteArray("former-owner"));

    const Metadata fields = put.httpFieldList();
    if (!custom) {
        QVERIFY(put.requestData().isEmpty());
        QCOMPARE(fields.field(header).value(), QByteArray("private"));
        return;
    }
    QVERIFY(!fields.contains(header));
    const auto sent = AbstractAcl::create(store);
    sent->readXml(put.requestData());
    QCOMPARE(sent->owner(), itemOwner);
    // A Google object can't be written to by anyone but its owner.
    QCOMPARE(sent->permissions(reader), google ? Permissions(AbstractAcl::ReadPermission)
                                               : AbstractAcl::ReadPermission | AbstractAcl::WritePermission);
    QCOMPARE(acl->permissions(reader), AbstractAcl::ReadPermission | AbstractAcl::WritePermission);
}

void TestAcl::getAnswer_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("hasAcl");
    QTest::addColumn<QString>("error");

    const QByteArray policy =
        "<?xml version=\"1.0\"?><AccessControlPolicy xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">"
        "<Owner><ID>get-owner</ID></Owner><AccessControlList><Grant>"
        "<Grantee xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:type=\"CanonicalUser\">"
        "<ID>get-owner</ID></Grantee><Permission>FULL_CONTROL</Permission></Grant>"
        "<Grant><Grantee xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:type=\"Group\">"
        "<URI>http://acs.amazonaws.com/groups/global/AllUsers</URI></Grantee><Permission>READ</Permission>"
        "</Grant></AccessControlList></AccessControlPolicy>";
    QTest::newRow("200 reads the list") << QByteArray("HTTP/1.1 200 OK\r\n\r\n") << policy << true << QString();
    QTest::newRow("404: no list, no error") << QByteArray("HTTP/1.1 404 Not Found\r\n\r\n") << QByteArray() << false
                                            << QString();
    QTest::newRow("403 is the caller's to judge")
        << QByteArray("HTTP/1.1 403 Forbidden\r\nContent-type: application/xml\r\n\r\n")
        << QByteArray("<Error><Code>AccessDenied</Code></Error>") << false << "AccessDenied";
}

void TestAcl::getAnswer()
{
    QFETCH(QByteArray, head);
    QFETCH(QByteArray, body);
    QFETCH(bool, hasAcl);
    QFETCH(QString, error);

    const auto store = account(AbstractAccount::AmazonS3Provider);
    const auto bucket = Driver::createBucketItem(QStringLiteral("photos"), QDateTime(), store);
    GetS3FileAclAtomicOperation get(nullptr, Driver::createChildFile(bucket.staticCast<AbstractS3Folder>(), QStringLiteral("x")));
    get.setHttpResponseHeader(HttpResponseHeader(head));
    get.dataReceived(body);
    QVERIFY(get.processResponseData());
    QCOMPARE(get.error().code(), error);
    QCOMPARE(!get.acl.isNull(), hasAcl);
    if (hasAcl)
        QCOMPARE(get.acl->canned(), AbstractAcl::PublicReadAcl);
}

QTEST_GUILESS_MAIN(TestAcl)
#include "tst_acl.moc"
