#ifndef FILEENCODER_H
#define FILEENCODER_H

#include <functional>

#include <QByteArray>

#include "crypto/clientsideencryption.h"
#include "crypto/openssl.h"
#include "util/operror.h"

class QIODevice;

// Streams a file into the form it is stored in: gzip, then the cipher of
// `openssl enc` behind an optional "Salted__" header, in fixed pieces, so
// that a file of any size takes the same memory.
class FileEncoder
{
public:
    // Size of the pieces read, deflated and encrypted.
    static const int _bufferSize = 0x80000;

    // Told the bytes written so far after each write; false stops the
    // encoder, with no error.
    using Progress = std::function<bool(qint64 written)>;

    explicit FileEncoder(const ClientSideEncryption& settings);

    // Picks the salt that the settings call for (empty when unsalted) and
    // derives the vector that an encoder given that salt will use, so that
    // it is known before a byte is encoded.
    static bool chooseSalt(const ClientSideEncryption& settings, QByteArray* salt, QByteArray* iv, OpError* error);
    // Encrypts behind this salt rather than a random one.
    void setSalt(const QByteArray& salt);
    void setProgress(const Progress& progress) { m_progress = progress; }

    // Reads input to its end and writes the encoded form to output; both
    // must be open. On failure error() says why; a FileError carries the
    // errorString() of the device at fault as its message.
    bool encode(QIODevice* input, QIODevice* output);
    // The vector the key derivation gave; empty without encryption.
    QByteArray iv() const { return m_iv; }
    OpError error() const { return m_error; }

private:
    static bool randomSalt(QByteArray* salt);
    bool startCipher();
    bool finishCipher();
    bool deflateAll(QIODevice* input);
    bool copyAll(QIODevice* input);
    // Hands a piece of plain or deflated bytes to the cipher, or straight
    // to the output.
    bool passOn(const char* data, int size);
    bool write(const char* data, qint64 size);
    bool fail(OpError::ErrorType type, const QString& message);
    bool failEncryption() { return fail(OpError::EncryptionError, m_openSsl.lastError()); }

    const ClientSideEncryption m_settings;
    OpenSsl m_openSsl;
    QIODevice* m_output = nullptr;
    QByteArray m_cipherBuffer;
    QByteArray m_iv;
    QByteArray m_salt;
    bool m_saltChosen = false;
    Progress m_progress;
    qint64 m_written = 0;
    OpError m_error;
};

#endif
