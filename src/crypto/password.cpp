#include "crypto/password.h"

#include <algorithm>

#include "util/lockeddata.h"

Password::Password(const Password& other) : m_bytes(other.toUtf8())
{
}

Password& Password::operator=(const Password& other)
{
    const QByteArray bytes = other.toUtf8();
    FastMutexLocker locker(m_mutex);
    m_bytes = bytes;
    return *this;
}

Password Password::fromString(const QString& text)
{
    return fromUtf8(text.toUtf8());
}

Password Password::fromUtf8(const QByteArray& bytes)
{
    Password password;
    password.m_bytes = bytes;
    return password;
}

QByteArray Password::toUtf8() const { return lockedRead(m_mutex, m_bytes); }

bool Password::isEmpty() const
{
    FastMutexLocker locker(m_mutex);
    return m_bytes.isEmpty();
}

bool passwordLessThean(const Password& a, const Password& b)
{
    return QString::fromUtf8(a.toUtf8()) < QString::fromUtf8(b.toUtf8());
}

struct DecryptionPasswords::Private : QSharedData
{
    QList<Password> passwords;
    Password compatibilityPassword;
    mutable FastMutex mutex;
};

DecryptionPasswords::DecryptionPasswords() = default;
DecryptionPasswords::DecryptionPasswords(const DecryptionPasswords& other) = default;
DecryptionPasswords& DecryptionPasswords::operator=(const DecryptionPasswords& other) = default;
DecryptionPasswords::~DecryptionPasswords() = default;

int DecryptionPasswords::count() const
{
    return LockedData::inspect(d, [](const Private& data) { return int(data.passwords.size()); });
}

Password DecryptionPasswords::at(int index) const
{
    return LockedData::inspect(d, [index](const Private& data) { return data.passwords.at(index); });
}

void DecryptionPasswords::append(const Password& password)
{
    LockedData::modify(d, [&password](Private& data) { data.passwords.append(password); });
}

bool DecryptionPasswords::contains(const Password& password) const
{
    return LockedData::inspect(d, [&password](const Private& data) {
        return data.passwords.contains(password);
    });
}

Password DecryptionPasswords::compatibilityPassword() const
{
    return LockedData::read(d, &Private::compatibilityPassword);
}

void DecryptionPasswords::sort()
{
    LockedData::modify(d, [](Private& data) {
        std::sort(data.passwords.begin(), data.passwords.end(), passwordLessThean);
    });
}
