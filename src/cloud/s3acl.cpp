#include "cloud/s3acl.h"

#include <QXmlStreamWriter>

#include "cloud/niftyacl.h"
#include "cloud/wsxmlstreamreader.h"
#include "items/abstractaccount.h"
#include "items/driver.h"

const QString S3Acl::_xmlnsDoc = QStringLiteral("http://s3.amazonaws.com/doc/2006-03-01/");
const QString S3Acl::_xmlnsXsi = QStringLiteral("http://www.w3.org/2001/XMLSchema-instance");
const QString NiftyAcl::_niftyXmlnsDoc = QStringLiteral("http://s3.nifty.com/doc/2011-09-29/");

namespace {
const QString global_accessControlPolicy = QStringLiteral("AccessControlPolicy");
const QString global_accessControlList = QStringLiteral("AccessControlList");
const QString global_grant = QStringLiteral("Grant");
const QString global_grantee = QStringLiteral("Grantee");
const QString global_permission = QStringLiteral("Permission");
const QString global_uri = QStringLiteral("URI");
const QString global_emailAddress = QStringLiteral("EmailAddress");
const QString global_xsiType = QStringLiteral("xsi:type");
const QString global_canonicalUser = QStringLiteral("CanonicalUser");
const QString global_customerByEmail = QStringLiteral("AmazonCustomerByEmail");
const QString global_group = QStringLiteral("Group");
const QString global_fullControl = QStringLiteral("FULL_CONTROL");

// The single rights in the order they are written, with their words.
const QList<QPair<AbstractAcl::Permission, QString>>& singleRights()
{
    static const QList<QPair<AbstractAcl::Permission, QString>> rights = {
        {AbstractAcl::ReadPermission, QStringLiteral("READ")},
        {AbstractAcl::WritePermission, QStringLiteral("WRITE")},
        {AbstractAcl::ReadAcpPermission, QStringLiteral("READ_ACP")},
        {AbstractAcl::WriteAcpPermission, QStringLiteral("WRITE_ACP")},
    };
    return rights;
}

AbstractAcl::Permissions rightsOf(const QString& word)
{
    if (word == global_fullControl)
        return AbstractAcl::FullControlPermission;
    for (const auto& right : singleRights()) {
        if (right.second == word)
            return right.first;
    }
    return AbstractAcl::NoPermission;
}
} // namespace

S3Acl::S3Acl(const QSharedPointer<AbstractAccount>& account) : AbstractAcl(account) {}

QSharedPointer<AbstractAcl> S3Acl::clone() const
{
    return QSharedPointer<S3Acl>(new S3Acl(*this));
}

QString S3Acl::xmlnsDoc() const
{
    return _xmlnsDoc;
}

QByteArray S3Acl::toXml() const
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.writeStartDocument();
    writer.writeStartElement(global_accessControlPolicy);
    writer.writeAttribute(QStringLiteral("xmlns"), xmlnsDoc());
    writer.writeStartElement(WSXmlStreamReader::_ownerXmlElement);
    const QSharedPointer<AbstractUser> user = owner();
    writer.writeTextElement(WSXmlStreamReader::_idXmlElement, QString::fromLatin1(user ? user->id() : QByteArray()));
    const QString ownerName = user ? user->displayName() : QString();
    if (!ownerName.isEmpty())
        writer.writeTextElement(WSXmlStreamReader::_displayNameXmlElement, ownerName);
    writer.writeEndElement();
    writer.writeStartElement(global_accessControlList);
    for (const auto& grant : sortedUsers())
        writeS3Grant(writer, grant.first, grant.second);
    writer.writeEndElement();
    writer.writeEndElement();
    writer.writeEndDocument();
    return xml;
}

void S3Acl::writeS3Grant(QXmlStreamWriter& writer, const QSharedPointer<AbstractUser>& user, Permissions flags)
{
    while (flags != NoPermission) {
        writer.writeStartElement(global_grant);
        writer.writeStartElement(global_grantee);
        writer.writeAttribute(QStringLiteral("xmlns:xsi"), _xmlnsXsi);
        const QString id = QString::fromLatin1(user->id());
        switch (user->userType()) {
        case AbstractUser::UserByEmail:
            writer.writeAttribute(global_xsiType, global_customerByEmail);
            writer.writeTextElement(global_emailAddress, id);
            break;
        case AbstractUser::UserById: {
            writer.writeAttribute(global_xsiType, global_canonicalUser);
            writer.writeTextElement(WSXmlStreamReader::_idXmlElement, id);
            const QString name = user->displayName();
            if (!name.isEmpty())
                writer.writeTextElement(WSXmlStreamReader::_displayNameXmlElement, name);
            break;
        }
        case AbstractUser::GroupByUri:
        case AbstractUser::AllUsers:
        case AbstractUser::AllAuthenticatedUsers:
            writer.writeAttribute(global_xsiType, global_group);
            writer.writeTextElement(global_uri, id);
            break;
        default:
            break;
        }
        writer.writeEndElement();
        QString word;
        if (flags == Permissions(FullControlPermission)) {
            word = global_fullControl;
            flags = NoPermission;
        } else {
            for (const auto& right : singleRights()) {
                if (flags.testFlag(right.first)) {
                    word = right.second;
                    flags &= ~Permissions(right.first);
                    break;
                }
            }
        }
        writer.writeTextElement(global_permission, word);
        writer.writeEndElement();
    }
}

void S3Acl::readXml(const QByteArray& data)
{
    WSXmlStreamReader reader(account(), data);
    reader.walkDocument(global_accessControlPolicy, [&] { readS3AccessControlPolicy(reader); });
}

// The owner is looked up as the canonical user that the grants name, so that
// the owner's own grant is found under the same pointer.
void S3Acl::readS3AccessControlPolicy(WSXmlStreamReader& reader)
{
    while (reader.readNextChildOf(global_accessControlPolicy)) {
        if (reader.name() == WSXmlStreamReader::_ownerXmlElement)
            setOwner(reader.readOwner(AbstractUser::UserById));
        else if (reader.name() == global_accessControlList)
            readS3AccessControlList(reader);
    }
}

void S3Acl::readS3AccessControlList(WSXmlStreamReader& reader)
{
    while (reader.readNextChildOf(global_accessControlList)) {
        if (reader.name() == global_grant)
            readS3Grant(reader);
    }
}

void S3Acl::readS3Grant(WSXmlStreamReader& reader)
{
    QSharedPointer<AbstractUser> user;
    Permissions flags;
    while (reader.readNextChildOf(global_grant)) {
        if (reader.name() == global_grantee)
            user = readS3Grantee(reader.attributes().value(global_xsiType).toString(), reader);
        else if (reader.name() == global_permission)
            flags |= rightsOf(reader.readText());
    }
    add(user, flags);
}

QSharedPointer<AbstractUser> S3Acl::readS3Grantee(const QString& type, WSXmlStreamReader& reader)
{
    QString id, displayName, uri, email;
    while (reader.readNextChildOf(global_grantee)) {
        const QStringView name = reader.name();
        if (name == WSXmlStreamReader::_idXmlElement)
            id = reader.readText();
        else if (name == WSXmlStreamReader::_displayNameXmlElement)
            displayName = reader.readText();
        else if (name == global_uri)
            uri = reader.readText();
        else if (name == global_emailAddress)
            email = reader.readText();
    }
    QSharedPointer<AbstractUser> user;
    if (type == global_group) {
        user = groupOf(uri.toLatin1());
    } else if (type == global_customerByEmail) {
        user = Driver::createUser(account(), AbstractUser::UserByEmail, email.toLatin1());
    } else {
        user = Driver::createUser(account(), AbstractUser::UserById, id.toLatin1());
    }
    if (user && !displayName.isEmpty())
        user->setDisplayName(displayName);
    return user;
}

// The two groups of everybody are the registry's standing users; any other
// group is known by its URI alone.
QSharedPointer<AbstractUser> S3Acl::groupOf(const QByteArray& uri) const
{
    for (const QSharedPointer<AbstractUser>& group :
         {Driver::allUsersGroupByDomain(account()), Driver::allAuthenticatedUsersGroupByDomain(account())}) {
        if (group && group->id() == uri)
            return group;
    }
    return Driver::createUser(account(), AbstractUser::GroupByUri, uri);
}

AbstractAcl::Canned S3Acl::canned() const
{
    return cannedForm();
}
