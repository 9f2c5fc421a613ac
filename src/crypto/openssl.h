#ifndef OPENSSL_H
#define OPENSSL_H

#include <QByteArray>
#include <QString>

#include "crypto/streamdecryptor.h"
#include "crypto/clientsideencryption.h"
#include "crypto/password.h"

// Opaque to us: the library is loaded at run time and its headers are not used.
struct evp_cipher_st;
struct evp_cipher_ctx_st;

// One cipher context of the run-time loaded libcrypto, in the form of
// `openssl enc`: key and vector from EVP_BytesToKey with SHA-1 and one
// iteration, over an optional 8-byte salt. An object belongs to one thread
// at a time. Every call returns false on failure and keeps the reason in
// lastError().
class OpenSsl : public StreamDecryptor
{
public:
    using Cipher = evp_cipher_st;

    // The length of the salt that the "Salted__" header carries.
    static const int _saltLength = 8;

    OpenSsl();
    ~OpenSsl() override;
    OpenSsl(const OpenSsl&) = delete;
    OpenSsl& operator=(const OpenSsl&) = delete;

    // The library's cipher object; null for a value out of range or before
    // the library was loaded.
    static const Cipher* cipher(ClientSideEncryption::Algorithm algorithm);
    // Cryptographically strong random bytes.
    static bool randPseudoBytes(unsigned char* buffer, int length);

    // Derives key() and iv() for the cipher chosen by the last init. An
    // empty salt derives without one.
    bool bytesToKey(const QByteArray& salt, const QByteArray& password);

    bool encryptInit(ClientSideEncryption::Algorithm algorithm, const QByteArray& password, const QByteArray& salt);
    bool decryptInit(ClientSideEncryption::Algorithm algorithm, const QByteArray& password, const QByteArray& salt);
    // The password is the first whose derived vector equals iv, so a wrong
    // one is known before a byte is decrypted.
    bool decryptInit(ClientSideEncryption::Algorithm algorithm, const DecryptionPasswords& passwords,
                     const QByteArray& iv, const QByteArray& salt) override;

    // out needs room for inLength plus one cipher block.
    bool encryptUpdate(char* out, int* outLength, const char* in, int inLength);
    // out needs room for one cipher block.
    bool encryptFinal(char* out, int* outLength);
    bool decryptUpdate(char* out, int* outLength, const QByteArray& in) override;
    bool decryptFinal(char* out, int* outLength) override;

    int cipherBlockSize() const override;
    QByteArray key() const { return m_key; }
    QByteArray iv() const { return m_iv; }
    QString lastError() const override { return m_lastError; }
    // Frees the context and wipes the key; iv() stays readable.
    void cleanUp() override;

private:
    // A fresh context for the algorithm's cipher; false with the message
    // of the init that failed.
    bool prepare(ClientSideEncryption::Algorithm algorithm, const QString& failure);
    bool startCipher(bool encrypt, const QString& failure);
    bool init(ClientSideEncryption::Algorithm algorithm, const QByteArray& password, const QByteArray& salt,
              bool encrypt);
    bool fail(const QString& message);

    evp_cipher_ctx_st* m_context = nullptr;
    const Cipher* m_cipher = nullptr;
    QByteArray m_key;
    QByteArray m_iv;
    QString m_lastError;
};

#endif
