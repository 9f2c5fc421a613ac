#include "items/abstractuser.h"

#include "items/abstractaccount.h"

AbstractUser::AbstractUser(const QSharedPointer<AbstractAccount>& account, UserType userType,
                           const QByteArray& id)
    : m_account(account), m_userType(userType), m_id(id)
{
}

QSharedPointer<AbstractAccount> AbstractUser::account() const
{
    return m_account;
}

AbstractUser::UserType AbstractUser::userType() const
{
    return m_userType;
}

QByteArray AbstractUser::id() const
{
    return m_id;
}

QString AbstractUser::displayName() const { return lockedRead(m_mutex, m_displayName); }
void AbstractUser::setDisplayName(const QString& displayName) { lockedWrite(m_mutex, m_displayName, displayName); }

UserKey AbstractUser::key() const
{
    return UserKey(domainOf(m_account), m_userType, m_id);
}

QString AbstractUser::domainOf(const QSharedPointer<AbstractAccount>& account)
{
    const QSharedPointer<Endpoint> endpoint = account ? account->endpoint() : nullptr;
    return endpoint ? endpoint->domain() : QString();
}
