#ifndef PASSWORD_H
#define PASSWORD_H

#include <QByteArray>
#include <QList>
#include <QSharedDataPointer>
#include <QString>

#include "util/fastmutex.h"

// A password as UTF-8 bytes, which is what the key derivation takes. Never
// written to a log.
class Password
{
public:
    Password() = default;
    Password(const Password& other);
    Password& operator=(const Password& other);

    static Password fromString(const QString& text);
    static Password fromUtf8(const QByteArray& bytes);

    QByteArray toUtf8() const;
    bool isEmpty() const;
    bool operator==(const Password& other) const { return toUtf8() == other.toUtf8(); }
    bool operator!=(const Password& other) const { return !(*this == other); }

private:
    mutable FastMutex m_mutex;
    QByteArray m_bytes;
};

// Compares the two as text decoded from UTF-8.
bool passwordLessThean(const Password& a, const Password& b);

// The passwords to try on a download, in the order of trial.
class DecryptionPasswords
{
public:
    DecryptionPasswords();
    DecryptionPasswords(const DecryptionPasswords& other);
    DecryptionPasswords& operator=(const DecryptionPasswords& other);
    ~DecryptionPasswords();

    int count() const;
    Password at(int index) const;
    // Keeps the order and allows duplicates.
    void append(const Password& password);
    bool contains(const Password& password) const;
    // The one candidate for an object whose metadata has no vector.
    Password compatibilityPassword() const;
    void sort();

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
