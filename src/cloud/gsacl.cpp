#include "cloud/gsacl.h"

#include <QXmlStreamWriter>

#include "cloud/wsxmlstreamreader.h"
#include "items/abstractaccount.h"
#include "items/driver.h"

const QString GSAcl::_xmlUserByIdValue = QStringLiteral("UserById");

namespace {
const QString global_accessControlList = QStringLiteral("AccessControlList");
const QString global_entries = QStringLiteral("Entries");
const QString global_entry = QStringLiteral("Entry");
const QString global_scope = QStringLiteral("Scope");
const QString global_type = QStringLiteral("type");
const QString global_permission = QStringLiteral("Permission");
const QString global_emailAddress = QStringLiteral("EmailAddress");
const QString global_domain = QStringLiteral("Domain");
const QString global_name = QStringLiteral("Name");
const QString global_fullControl = QStringLiteral("FULL_CONTROL");
const QString global_write = QStringLiteral("WRITE");
const QString global_read = QStringLiteral("READ");

// The scope types that the reader knows. GroupByEmail is read but never
// written: such a group goes out as "GroupById".
const QList<QPair<QString, AbstractUser::UserType>>& scopeTypes()
{
    static const QList<QPair<QString, AbstractUser::UserType>> types = {
        {GSAcl::_xmlUserByIdValue, AbstractUser::UserById},
        {QStringLiteral("UserByEmail"), AbstractUser::UserByEmail},
        {QStringLiteral("GroupById"), AbstractUser::GroupById},
        {QStringLiteral("GroupByEmail"), AbstractUser::GroupByEmail},
        {QStringLiteral("GroupByDomain"), AbstractUser::GroupByDomain},
        {QStringLiteral("AllUsers"), AbstractUser::AllUsers},
        {QStringLiteral("AllAuthenticatedUsers"), AbstractUser::AllAuthenticatedUsers},
    };
    return types;
}

AbstractUser::UserType scopeTypeOf(QStringView word)
{
    for (const auto& type : scopeTypes()) {
        if (type.first == word)
            return type.second;
    }
    return AbstractUser::NoUserType;
}

QString scopeWordOf(AbstractUser::UserType type)
{
    if (type == AbstractUser::GroupByEmail)
        type = AbstractUser::GroupById;
    for (const auto& entry : scopeTypes()) {
        if (entry.second == type)
            return entry.first;
    }
    return QString();
}

// Google's ladder: the rung that covers the flags.
QString ladderWord(AbstractAcl::Permissions flags)
{
    if (flags.testFlag(AbstractAcl::WriteAcpPermission))
        flags |= AbstractAcl::FullControlPermission;
    else if (flags.testFlag(AbstractAcl::WritePermission))
        flags |= AbstractAcl::ReadPermission;
    if (flags == AbstractAcl::Permissions(AbstractAcl::FullControlPermission))
        return global_fullControl;
    if (flags.testFlag(AbstractAcl::WritePermission))
        return global_write;
    if (flags.testFlag(AbstractAcl::ReadPermission))
        return global_read;
    return QString();
}

AbstractAcl::Permissions rightsOf(const QString& word)
{
    if (word == global_fullControl)
        return AbstractAcl::FullControlPermission;
    if (word == global_write)
        return AbstractAcl::ReadPermission | AbstractAcl::WritePermission;
    if (word == global_read)
        return AbstractAcl::ReadPermission;
    return AbstractAcl::NoPermission;
}
} // namespace

GSAcl::GSAcl(const QSharedPointer<AbstractAccount>& account) : AbstractAcl(account) {}

QSharedPointer<AbstractAcl> GSAcl::clone() const
{
    return QSharedPointer<GSAcl>(new GSAcl(*this));
}

AbstractAcl::Canned GSAcl::canned() const
{
    return cannedForm();
}

QByteArray GSAcl::toXml() const
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.writeStartDocument();
    writer.writeStartElement(global_accessControlList);
    writer.writeStartElement(WSXmlStreamReader::_ownerXmlElement);
    const QSharedPointer<AbstractUser> user = owner();
    writer.writeTextElement(WSXmlStreamReader::_idXmlElement, QString::fromLatin1(user ? user->id() : QByteArray()));
    writer.writeEndElement();
    writer.writeStartElement(global_entries);
    for (const auto& grant : sortedUsers())
        writeGSGrant(writer, grant.first, grant.second);
    writer.writeEndElement();
    writer.writeEndElement();
    writer.writeEndDocument();
    return xml;
}

void GSAcl::writeGSGrant(QXmlStreamWriter& writer, const QSharedPointer<AbstractUser>& user, Permissions flags)
{
    writer.writeStartElement(global_entry);
    writer.writeStartElement(global_scope);
    const AbstractUser::UserType type = user->userType();
    const QString word = scopeWordOf(type);
    if (!word.isEmpty())
        writer.writeAttribute(global_type, word);
    const QString id = QString::fromLatin1(user->id());
    switch (type) {
    case AbstractUser::UserById:
    case AbstractUser::GroupById:
        writer.writeTextElement(WSXmlStreamReader::_idXmlElement, id);
        break;
    case AbstractUser::UserByEmail:
    case AbstractUser::GroupByEmail:
        writer.writeTextElement(global_emailAddress, id);
        break;
    case AbstractUser::GroupByDomain:
        writer.writeTextElement(global_domain, user->displayName());
        break;
    default:
        break;
    }
    writer.writeEndElement();
    writer.writeTextElement(global_permission, ladderWord(flags));
    writer.writeEndElement();
}

void GSAcl::readXml(const QByteArray& data)
{
    WSXmlStreamReader reader(account(), data);
    reader.walkDocument(global_accessControlList, [&] { readGSAccessControlList(reader); });
}

void GSAcl::readGSAccessControlList(WSXmlStreamReader& reader)
{
    while (reader.readNextChildOf(global_accessControlList)) {
        if (reader.name() == WSXmlStreamReader::_ownerXmlElement)
            setOwner(reader.readOwner(AbstractUser::GroupById));
        else if (reader.name() == global_entries)
            readGSEntries(reader);
    }
}

void GSAcl::readGSEntries(WSXmlStreamReader& reader)
{
    while (reader.readNextChildOf(global_entries)) {
        if (reader.name() == global_entry)
            readGSEntry(reader);
    }
}

void GSAcl::readGSEntry(WSXmlStreamReader& reader)
{
    QSharedPointer<AbstractUser> user;
    Permissions flags;
    while (reader.readNextChildOf(global_entry)) {
        if (reader.name() == global_scope)
            user = readGSScope(scopeTypeOf(reader.attributes().value(global_type)), reader);
        else if (reader.name() == global_permission)
            flags |= rightsOf(reader.readText());
    }
    add(user, flags);
}

QSharedPointer<AbstractUser> GSAcl::readGSScope(AbstractUser::UserType type, WSXmlStreamReader& reader)
{
    QString id, name, email;
    while (reader.readNextChildOf(global_scope)) {
        if (reader.name() == WSXmlStreamReader::_idXmlElement)
            id = reader.readText();
        else if (reader.name() == global_name)
            name = reader.readText();
        else if (reader.name() == global_emailAddress)
            email = reader.readText();
    }
    if (type == AbstractUser::AllUsers)
        return Driver::allUsersGroupByDomain(account());
    if (type == AbstractUser::AllAuthenticatedUsers)
        return Driver::allAuthenticatedUsersGroupByDomain(account());
    const QSharedPointer<AbstractUser> user =
        Driver::createUser(account(), type, (id.isEmpty() ? email : id).toLatin1());
    if (user && !name.isEmpty())
        user->setDisplayName(name);
    return user;
}
