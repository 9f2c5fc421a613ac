#ifndef STREAMDECRYPTOR_H
#define STREAMDECRYPTOR_H

#include <functional>

#include <QByteArray>
#include <QSharedPointer>
#include <QString>

#include "crypto/clientsideencryption.h"
#include "crypto/password.h"

// The cipher behind a download's decryption: one context, fed in pieces.
// The download pipeline is written against this interface; the OpenSSL
// binding provides the implementation through setFactory(). Every call
// returns false on failure and leaves the reason in lastError().
class StreamDecryptor
{
public:
    using Factory = std::function<QSharedPointer<StreamDecryptor>()>;

    virtual ~StreamDecryptor() = default;

    // Picks the password whose derived vector equals iv (or the
    // compatibility password when iv is empty) and sets up the context.
    virtual bool decryptInit(ClientSideEncryption::Algorithm algorithm, const DecryptionPasswords& passwords,
                             const QByteArray& iv, const QByteArray& salt) = 0;
    // out must have room for in's size plus one cipher block.
    virtual bool decryptUpdate(char* out, int* outLength, const QByteArray& in) = 0;
    // out must have room for one cipher block.
    virtual bool decryptFinal(char* out, int* outLength) = 0;
    virtual int cipherBlockSize() const = 0;
    virtual void cleanUp() = 0;
    virtual QString lastError() const = 0;

    // A fresh decryptor, or null when no implementation is registered.
    static QSharedPointer<StreamDecryptor> create();
    static void setFactory(const Factory& factory);
};

#endif
