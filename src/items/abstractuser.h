#ifndef ABSTRACTUSER_H
#define ABSTRACTUSER_H

#include <QByteArray>
#include <QSharedPointer>
#include <QString>

#include "items/abstractfs.h"
#include "items/userkey.h"
#include "util/fastmutex.h"

class AbstractAccount;

// A user or group of a store, as an owner or in an ACL. Users live in the
// Driver's registry, one object per key, so that they compare by pointer.
class AbstractUser : public AbstractFS
{
public:
    enum UserType {
        NoUserType = 0,
        UserById = 1,
        UserByEmail = 2,
        GroupById = 3,
        GroupByUri = 4,
        GroupByEmail = 5,
        GroupByDomain = 6,
        AllUsers = 7,
        AllAuthenticatedUsers = 8
    };

    AbstractUser(const AbstractUser&) = delete;
    AbstractUser& operator=(const AbstractUser&) = delete;

    FileSystemClass fileSystemClass() const override { return CloudClass; }

    QSharedPointer<AbstractAccount> account() const;
    UserType userType() const;
    QByteArray id() const;
    QString displayName() const;
    void setDisplayName(const QString& displayName);
    // The key of the registry: the account's endpoint domain, the type, the id.
    UserKey key() const;

    // The domain that users of account are registered under; empty for an
    // account without an endpoint.
    static QString domainOf(const QSharedPointer<AbstractAccount>& account);

protected:
    AbstractUser(const QSharedPointer<AbstractAccount>& account, UserType userType,
                 const QByteArray& id);

private:
    mutable FastMutex m_mutex;
    const QSharedPointer<AbstractAccount> m_account;
    const UserType m_userType;
    const QByteArray m_id;
    QString m_displayName;
};

#endif
