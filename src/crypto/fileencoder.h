#ifndef FILEENCODER_H
#define FILEENCODER_H

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

    explicit FileEncoder(const ClientSideEncryption& settings);

    // Reads input to its end and writes the encoded form to output; both
    // must be open. On failure error() says why; a FileError carries the
    // errorString() of the device at fault as its message.
    bool encode(QIODevice* input, QIODevice* output);
    // The vector the key derivation gave; empty without encryption.
    QByteArray iv() const { return m_iv; }
    OpError error() const { return m_error; }

private:
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
    OpError m_error;
};

#endif
