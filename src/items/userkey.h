#ifndef USERKEY_H
#define USERKEY_H

#include <QByteArray>
#include <QHashFunctions>
#include <QString>

// What tells one user of a store from another: the domain of the endpoint,
// the kind of user and the id the store gave it.
class UserKey
{
public:
    UserKey() = default;
    UserKey(const QString& domain, int userType, const QByteArray& userId)
        : m_domain(domain), m_userType(userType), m_userId(userId) {}

    QString domain() const { return m_domain; }
    int userType() const { return m_userType; }
    QByteArray userId() const { return m_userId; }

    bool operator==(const UserKey& other) const
    {
        return m_userType == other.m_userType && m_userId == other.m_userId
               && m_domain == other.m_domain;
    }
    bool operator!=(const UserKey& other) const { return !(*this == other); }

private:
    QString m_domain;
    int m_userType = 0;
    QByteArray m_userId;
};

inline size_t qHash(const UserKey& key, size_t seed = 0)
{
    return qHashMulti(seed, key.domain(), key.userType(), key.userId());
}

#endif
