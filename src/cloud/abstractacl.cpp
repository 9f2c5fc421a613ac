#include "cloud/abstractacl.h"

#include <algorithm>

#include "cloud/gsacl.h"
#include "cloud/niftyacl.h"
#include "items/abstractaccount.h"
#include "items/driver.h"

const QByteArray AbstractAcl::_private = QByteArrayLiteral("private");
const QByteArray AbstractAcl::_publicRead = QByteArrayLiteral("public-read");
const QByteArray AbstractAcl::_publicReadWrite = QByteArrayLiteral("public-read-write");
const QByteArray AbstractAcl::_authenticatedRead = QByteArrayLiteral("authenticated-read");
const QByteArray AbstractAcl::_projectPrivate = QByteArrayLiteral("project-private");
const QByteArray AbstractAcl::_bucketOwnerRead = QByteArrayLiteral("bucket-owner-read");
const QByteArray AbstractAcl::_bucketOwnerFullControl = QByteArrayLiteral("bucket-owner-full-control");

AbstractAcl::AbstractAcl(const QSharedPointer<AbstractAccount>& account) : m_account(account) {}

QSharedPointer<AbstractAcl> AbstractAcl::create(const QSharedPointer<AbstractAccount>& account)
{
    if (!account)
        return QSharedPointer<AbstractAcl>();
    if (account->provider() == AbstractAccount::NiftyProvider)
        return QSharedPointer<NiftyAcl>::create(account);
    if (account->fileSystemType() == AbstractFS::GSFileSystem)
        return QSharedPointer<GSAcl>::create(account);
    return QSharedPointer<S3Acl>::create(account);
}

// The copy gets a mutex of its own; users and owner are shared handles.
AbstractAcl::AbstractAcl(const AbstractAcl& other) : AbstractFS(other), m_account(other.m_account)
{
    FastMutexLocker locker(other.m_mutex);
    m_owner = other.m_owner;
    m_users = other.m_users;
}

bool AbstractAcl::compare(const QSharedPointer<AbstractAcl>& other, bool ignoreOwner) const
{
    if (!other)
        return false;
    if (!ignoreOwner && owner() != other->owner())
        return false;
    return permissions() == other->permissions();
}

AbstractAcl::UserPointer AbstractAcl::owner() const
{
    FastMutexLocker locker(m_mutex);
    return m_owner;
}

void AbstractAcl::setOwner(const UserPointer& owner)
{
    FastMutexLocker locker(m_mutex);
    m_owner = owner;
}

QSharedPointer<AbstractAccount> AbstractAcl::account() const
{
    return m_account;
}

int AbstractAcl::userCount() const
{
    FastMutexLocker locker(m_mutex);
    return int(m_users.size());
}

bool AbstractAcl::contains(const UserPointer& user) const
{
    FastMutexLocker locker(m_mutex);
    return m_users.contains(user);
}

AbstractAcl::UserHash AbstractAcl::permissions() const
{
    FastMutexLocker locker(m_mutex);
    return m_users;
}

AbstractAcl::Permissions AbstractAcl::permissions(const UserPointer& user) const
{
    FastMutexLocker locker(m_mutex);
    return m_users.value(user);
}

void AbstractAcl::setPermissions(const UserHash& users)
{
    FastMutexLocker locker(m_mutex);
    m_users = users;
}

void AbstractAcl::set(const UserPointer& user, Permissions flags)
{
    if (!user)
        return;
    FastMutexLocker locker(m_mutex);
    m_users.insert(user, flags);
}

void AbstractAcl::add(const UserPointer& user, Permissions flags)
{
    if (!user)
        return;
    FastMutexLocker locker(m_mutex);
    m_users[user] |= flags;
}

void AbstractAcl::remove(const UserPointer& user, Permissions flags)
{
    FastMutexLocker locker(m_mutex);
    auto it = m_users.find(user);
    if (it != m_users.end())
        it.value() &= ~flags;
}

void AbstractAcl::removeUser(const UserPointer& user)
{
    FastMutexLocker locker(m_mutex);
    m_users.remove(user);
}

void AbstractAcl::removeWritePermission()
{
    FastMutexLocker locker(m_mutex);
    for (auto it = m_users.begin(); it != m_users.end(); ++it)
        it.value() &= ~Permissions(WritePermission);
}

QByteArray AbstractAcl::cannedToByteArray(Canned canned)
{
    switch (canned) {
    case PrivateAcl:
        return _private;
    case PublicReadAcl:
        return _publicRead;
    case PublicReadWriteAcl:
        return _publicReadWrite;
    case AuthenticatedReadAcl:
        return _authenticatedRead;
    case ProjectPrivateAcl:
        return _projectPrivate;
    case BucketOwnerReadAcl:
        return _bucketOwnerRead;
    case BucketOwnerFullControlAcl:
        return _bucketOwnerFullControl;
    case NotCanned:
        break;
    }
    return QByteArray();
}

QList<QPair<AbstractAcl::UserPointer, AbstractAcl::Permissions>> AbstractAcl::sortedUsers() const
{
    const UserHash users = permissions();
    QList<QPair<UserPointer, Permissions>> list;
    list.reserve(users.size());
    for (auto it = users.cbegin(); it != users.cend(); ++it)
        list.append({it.key(), it.value()});
    std::sort(list.begin(), list.end(), [](const auto& a, const auto& b) {
        const int typeA = a.first->userType();
        const int typeB = b.first->userType();
        return typeA != typeB ? typeA < typeB : a.first->id() < b.first->id();
    });
    return list;
}

bool AbstractAcl::isOwnerPlus(const UserPointer& group, Permissions groupRights) const
{
    FastMutexLocker locker(m_mutex);
    if (!m_owner || m_users.value(m_owner) != Permissions(FullControlPermission))
        return false;
    if (!group)
        return m_users.size() == 1;
    return m_users.size() == 2 && m_users.contains(group) && m_users.value(group) == groupRights;
}

AbstractAcl::Canned AbstractAcl::cannedForm() const
{
    if (isPrivate())
        return PrivateAcl;
    if (isPublicRead())
        return PublicReadAcl;
    if (isPublicReadWrite())
        return PublicReadWriteAcl;
    if (isAuthenticatedRead())
        return AuthenticatedReadAcl;
    return NotCanned;
}

bool AbstractAcl::isPrivate() const
{
    return isOwnerPlus(UserPointer(), NoPermission);
}

bool AbstractAcl::isPublicRead() const
{
    return isOwnerPlus(Driver::allUsersGroupByDomain(m_account), ReadPermission);
}

bool AbstractAcl::isPublicReadWrite() const
{
    return isOwnerPlus(Driver::allUsersGroupByDomain(m_account), ReadPermission | WritePermission);
}

bool AbstractAcl::isAuthenticatedRead() const
{
    return isOwnerPlus(Driver::allAuthenticatedUsersGroupByDomain(m_account), ReadPermission);
}
