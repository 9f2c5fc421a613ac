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

// A list of an owner and one more grant: the provider, the owner's and the
// grantee's rights, the document's permissions (Google: the scope types
// first), the user type and rights read back, the well-known form.
struct Grants
{
    int provider, ownerFlags, type;
    QByteArray id;
    int flags;
    QString written, readBack;
    int canned;
};
Q_DECLARE_METATYPE(Grants)

class TestAcl : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void grants_data();
    void grants();
    void putRequest_data();
    void putRequest();
    void missingListIsNoError();
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

// The texts of every element called name, in document order; of a Scope,
// its "type" attribute, "-" when it has none.
QStringList texts(const QByteArray& xml, const QString& name)
{
    QStringList found;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement || reader.name() != name)
            continue;
        const QString type = reader.attributes().value(QStringLiteral("type")).toString();
        found << (name != "Scope" ? reader.readElementText(QXmlStreamReader::IncludeChildElements)
                                  : type.isEmpty() ? QStringLiteral("-") : type);
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

void TestAcl::grants_data()
{
    QTest::addColumn<Grants>("row");

    const int s3 = AbstractAccount::AmazonS3Provider;
    const int gs = AbstractAccount::GoogleStorageProvider;
    const int all = AbstractUser::AllUsers;
    const QString everyone = QString("%1 1").arg(all);
    QTest::newRow("S3 all four: one full control") << Grants{s3, 0, 1, "c0ffee02", 15, "FULL_CONTROL", "1 15", 0};
    QTest::newRow("Nifty three of four: one grant each")
        << Grants{AbstractAccount::NiftyProvider, 0, 1, "c0ffee03", 13, "READ READ_ACP WRITE_ACP", "1 13", 0};
    QTest::newRow("S3 everybody by URI") << Grants{s3, 0, all, "", 1, "READ", everyone, 0};
    QTest::newRow("S3 e-mail grantee") << Grants{s3, 0, 2, "robin@example.com", 8, "WRITE_ACP", "2 8", 0};
    // Google's rights are a ladder and its scope types are not all
    // symmetric: what is read back is the rung and the type it reports.
    QTest::newRow("GS write-acp alone: top rung") << Grants{gs, 0, 1, "g1", 8, "UserById: FULL_CONTROL", "1 15", 0};
    QTest::newRow("GS write alone implies read") << Grants{gs, 0, 1, "g2", 2, "UserById: WRITE", "1 3", 0};
    QTest::newRow("GS group by e-mail comes back by id")
        << Grants{gs, 0, AbstractUser::GroupByEmail, "team@example.com", 1, "GroupById: READ",
                  QString("%1 1").arg(AbstractUser::GroupById), 0};
    QTest::newRow("GS group by URI has no scope type") << Grants{gs, 0, AbstractUser::GroupByUri, "u", 1, "-: READ",
                                                                 "0 1", 0};
    QTest::newRow("GS everybody") << Grants{gs, 0, all, "", 1, "AllUsers: READ", everyone, 0};
    // The well-known forms, on a list built here and on one read back.
    for (const int provider : {s3, gs}) {
        const QByteArray p = Driver::providerToString(Provider(provider)).toLatin1() + ": ";
        const int signedIn = AbstractUser::AllAuthenticatedUsers;
        QTest::newRow(p + "owner alone") << Grants{provider, 15, 0, "", 0, "", "", AbstractAcl::PrivateAcl};
        QTest::newRow(p + "owner without all rights") << Grants{provider, 7, 0, "", 0, "", "", 0};
        QTest::newRow(p + "everybody reads") << Grants{provider, 15, all, "", 1, "", "", AbstractAcl::PublicReadAcl};
        QTest::newRow(p + "all write") << Grants{provider, 15, all, "", 3, "", "", AbstractAcl::PublicReadWriteAcl};
        QTest::newRow(p + "signed-in users read")
            << Grants{provider, 15, signedIn, "", 1, "", "", AbstractAcl::AuthenticatedReadAcl};
        QTest::newRow(p + "everybody reads the ACL too") << Grants{provider, 15, all, "", 5, "", "", 0};
        QTest::newRow(p + "another user") << Grants{provider, 15, 1, "someone-else", 1, "", "", 0};
    }
}

// A list is written in the provider's dialect and read back; the owner's
// grant, when it has one, names the owner again.
void TestAcl::grants()
{
    QFETCH(Grants, row);

    const auto store = account(Provider(row.provider));
    const bool google = row.provider == AbstractAccount::GoogleStorageProvider;
    const auto owner = user(store, google ? AbstractUser::GroupById : AbstractUser::UserById,
                            QByteArray("owner-") + QTest::currentDataTag());
    auto acl = AbstractAcl::create(store);
    acl->setOwner(owner);
    if (row.ownerFlags)
        acl->set(owner, Permissions(row.ownerFlags));
    const auto grantee = row.id.isEmpty() ? everybody(store, row.type) : user(store, row.type, row.id);
    if (row.flags)
        acl->set(grantee, Permissions(row.flags));
    QCOMPARE(int(acl->canned()), row.canned);

    const QByteArray xml = acl->toXml();
    const auto back = reread(acl);
    QCOMPARE(back->owner(), owner);
    // Google's ladder keeps only its rungs; other rights change on the way.
    const auto onRung = [](int flags) { return flags == 0 || flags == 1 || flags == 3 || flags == 15; };
    if (!google || (onRung(row.ownerFlags) && onRung(row.flags)))
        QCOMPARE(int(back->canned()), row.canned);
    if (row.written.isEmpty())
        return;
    QCOMPARE((google ? texts(xml, "Scope").join(' ') + ": " : QString()) + texts(xml, "Permission").join(' '),
             row.written);
    if (row.provider == AbstractAccount::NiftyProvider)
        QVERIFY2(xml.contains("xmlns=\"http://s3.nifty.com/doc/2011-09-29/\""), xml.constData());
    QCOMPARE(back->userCount(), 1);
    const auto readUser = back->permissions().keys().first();
    QCOMPARE(QString("%1 %2").arg(int(readUser->userType())).arg(int(back->permissions(readUser))), row.readBack);
    QCOMPARE(readUser->id(), readUser->userType() == 0 ? QByteArray() : grantee->id());
}

void TestAcl::putRequest_data()
{
    QTest::addColumn<int>("provider");
    QTest::addColumn<bool>("custom");
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<QString>("query");

    const int google = AbstractAccount::GoogleStorageProvider;
    QTest::newRow("Google canned") << google << false << QByteArray() << "acl";
    QTest::newRow("S3 custom, a version") << int(AbstractAccount::AmazonS3Provider) << true << QByteArray("v1")
                                          << "acl&versionId=v1";
    QTest::newRow("Google custom") << google << true << QByteArray() << "acl";
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
    const QByteArray header = google ? "x-goog-acl" : "x-amz-acl";
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

// A missing list is no error: what a missing object means is the caller's
// to judge, as any other answer is the common judgement's.
void TestAcl::missingListIsNoError()
{
    const auto bucket = Driver::createBucketItem("photos", QDateTime(), account(AbstractAccount::AmazonS3Provider));
    GetS3FileAclAtomicOperation get(nullptr, Driver::createChildFile(bucket.staticCast<AbstractS3Folder>(), "x"));
    get.setHttpResponseHeader(HttpResponseHeader("HTTP/1.1 404 Not Found\r\n\r\n"));
    QVERIFY(get.processResponseData());
    QVERIFY(get.error().isNull() && get.acl.isNull());
}

QTEST_GUILESS_MAIN(TestAcl)
#include "tst_acl.moc"
