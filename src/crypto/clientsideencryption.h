#ifndef CLIENTSIDEENCRYPTION_H
#define CLIENTSIDEENCRYPTION_H

#include <QByteArray>
#include <QPair>
#include <QSharedDataPointer>
#include <QString>

#include "crypto/password.h"

// How files are compressed and encrypted before they go to the store. The
// settings travel in an object's metadata (toByteArray, fromByteArray), so
// that a download can undo them.
class ClientSideEncryption
{
public:
    // The numbers index the cipher tables: they are fixed.
    enum Algorithm {
        BlowfishCbc = 0,
        BlowfishCfb = 1,
        BlowfishOfb = 2,
        TripleDesCbc = 3,
        TripleDesCfb = 4,
        TripleDesOfb = 5,
        Aes128Cbc = 6,
        Aes192Cbc = 7,
        Aes256Cbc = 8,
        Aes128Cfb = 9,
        Aes192Cfb = 10,
        Aes256Cfb = 11,
        Aes128Cfb1 = 12,
        Aes192Cfb1 = 13,
        Aes256Cfb1 = 14,
        Aes128Cfb8 = 15,
        Aes192Cfb8 = 16,
        Aes256Cfb8 = 17,
        Aes128Ofb = 18,
        Aes192Ofb = 19,
        Aes256Ofb = 20
    };

    ClientSideEncryption();
    ClientSideEncryption(const ClientSideEncryption& other);
    ClientSideEncryption& operator=(const ClientSideEncryption& other);
    ~ClientSideEncryption();

    // The cipher of an option name such as "aes-256-cbc", any case. *ok,
    // when given, says whether the name was known.
    static Algorithm algorithmFromString(const QString& text, bool* ok);
    // A text for logs, "Unknown" for a value outside the enumeration.
    static QByteArray description(Algorithm algorithm);

    // The settings part of the metadata value: "gzip; " when compressing,
    // then the cipher's name when encrypting. Empty for null data.
    QByteArray toByteArray() const;
    // The settings and the initialisation vector from a metadata value.
    static QPair<ClientSideEncryption, QByteArray> fromByteArray(const QByteArray& value);

    bool isNull() const;
    bool isEncryptionEnabled() const;
    bool isCompressionEnabled() const;
    bool isSalted() const;
    Algorithm algorithm() const;
    // 0 means zlib's default.
    int compressionLevel() const;
    Password password() const;

    void setEncryptionEnabled(bool enabled);
    void setCompressionEnabled(bool enabled);
    void setSalted(bool salted);
    void setAlgorithm(Algorithm algorithm);
    void setCompressionLevel(int level);
    void setPassword(const Password& password);

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
