#include "crypto/clientsideencryption.h"

#include "util/lockeddata.h"

struct ClientSideEncryption::Private : QSharedData
{
    Algorithm algorithm = Aes256Cbc;
    Password password;
    bool compressionEnabled = false;
    bool salted = true;
    int compressionLevel = 0;
    bool encryptionEnabled = false;
    mutable FastMutex mutex;
};

namespace {

struct Cipher
{
    const char* option;
    const char* description;
    // The name in the metadata of a stored object.
    const char* metadataName;
};

// Indexed by ClientSideEncryption::Algorithm.
const Cipher global_ciphers[] = {
    {"bf-cbc", "Blowfish (OpenSSL bf-cbc)", "Blowfish (OpenSSL bf-cbc)"},
    {"bf-cfb", "Blowfish (OpenSSL bf-cfb)", "Blowfish (OpenSSL bf-cfb)"},
    {"bf-ofb", "Blowfish (OpenSSL bf-ofb)", "Blowfish (OpenSSL bf-ofb)"},
    {"des-ede3-cbc", "Triple DES (OpenSSL des-ede3-cbc)", "3DES (OpenSSL des-ede3-cbc)"},
    {"des-ede3-cfb", "Triple DES (OpenSSL des-ede3-cfb)", "3DES (OpenSSL des-ede3-cfb)"},
    {"des-ede3-ofb", "Triple DES (OpenSSL des-ede3-ofb)", "3DES (OpenSSL des-ede3-ofb)"},
    {"aes-128-cbc", "128 bit AES (OpenSSL aes-128-cbc)", "AES-128 (OpenSSL aes-128-cbc)"},
    {"aes-192-cbc", "192 bit AES (OpenSSL aes-192-cbc)", "AES-192 (OpenSSL aes-192-cbc)"},
    {"aes-256-cbc", "256 bit AES (OpenSSL aes-256-cbc)", "AES-256 (OpenSSL aes-256-cbc)"},
    {"aes-128-cfb", "128 bit AES (OpenSSL aes-128-cfb)", "AES-128 (OpenSSL aes-128-cfb)"},
    {"aes-192-cfb", "192 bit AES (OpenSSL aes-192-cfb)", "AES-192 (OpenSSL aes-192-cfb)"},
    {"aes-256-cfb", "256 bit AES (OpenSSL aes-256-cfb)", "AES-256 (OpenSSL aes-256-cfb)"},
    {"aes-128-cfb1", "128 bit AES (OpenSSL aes-128-cfb1)", "AES-128 (OpenSSL aes-128-cfb1)"},
    {"aes-192-cfb1", "192 bit AES (OpenSSL aes-192-cfb1)", "AES-192 (OpenSSL aes-192-cfb1)"},
    {"aes-256-cfb1", "256 bit AES (OpenSSL aes-256-cfb1)", "AES-256 (OpenSSL aes-256-cfb1)"},
    {"aes-128-cfb8", "128 bit AES (OpenSSL aes-128-cfb8)", "AES-128 (OpenSSL aes-128-cfb8)"},
    {"aes-192-cfb8", "192 bit AES (OpenSSL aes-192-cfb8)", "AES-192 (OpenSSL aes-192-cfb8)"},
    {"aes-256-cfb8", "256 bit AES (OpenSSL aes-256-cfb8)", "AES-256 (OpenSSL aes-256-cfb8)"},
    {"aes-128-ofb", "128 bit AES (OpenSSL aes-128-ofb)", "AES-128 (OpenSSL aes-128-ofb)"},
    {"aes-192-ofb", "192 bit AES (OpenSSL aes-192-ofb)", "AES-192 (OpenSSL aes-192-ofb)"},
    {"aes-256-ofb", "256 bit AES (OpenSSL aes-256-ofb)", "AES-256 (OpenSSL aes-256-ofb)"},
};

const int global_cipherCount = int(sizeof(global_ciphers) / sizeof(global_ciphers[0]));

// Names that older uploads wrote, still found on objects in stores.
const struct
{
    const char* metadataName;
    ClientSideEncryption::Algorithm algorithm;
} global_olderCipherNames[] = {
    {"3DES (OpenSSL des_ede3_cfb)", ClientSideEncryption::TripleDesCfb},
    {"AES-256 (OpenSSL aes_256_ofb)", ClientSideEncryption::Aes256Ofb},
};

const Cipher* cipher(ClientSideEncryption::Algorithm algorithm)
{
    const int index = int(algorithm);
    return index >= 0 && index < global_cipherCount ? &global_ciphers[index] : nullptr;
}

// The cipher whose metadata name is piece, ignoring case, current or older.
bool algorithmFromMetadataName(const QByteArray& piece, ClientSideEncryption::Algorithm* algorithm)
{
    for (int i = 0; i < global_cipherCount; ++i) {
        if (qstricmp(piece.constData(), global_ciphers[i].metadataName) == 0) {
            *algorithm = ClientSideEncryption::Algorithm(i);
            return true;
        }
    }
    for (const auto& older : global_olderCipherNames) {
        if (qstricmp(piece.constData(), older.metadataName) == 0) {
            *algorithm = older.algorithm;
            return true;
        }
    }
    return false;
}

} // namespace

ClientSideEncryption::ClientSideEncryption() = default;
ClientSideEncryption::ClientSideEncryption(const ClientSideEncryption& other) = default;
ClientSideEncryption& ClientSideEncryption::operator=(const ClientSideEncryption& other) = default;
ClientSideEncryption::~ClientSideEncryption() = default;

ClientSideEncryption::Algorithm ClientSideEncryption::algorithmFromString(const QString& text,
                                                                          bool* ok)
{
    if (ok)
        *ok = true;
    for (int i = 0; i < global_cipherCount; ++i) {
        if (text.compare(QLatin1String(global_ciphers[i].option), Qt::CaseInsensitive) == 0)
            return Algorithm(i);
    }
    if (ok)
        *ok = false;
    return Aes256Cbc;
}

QByteArray ClientSideEncryption::description(Algorithm algorithm)
{
    const Cipher* known = cipher(algorithm);
    return known ? QByteArray(known->description) : QByteArrayLiteral("Unknown");
}

QByteArray ClientSideEncryption::toByteArray() const
{
    if (!d)
        return QByteArray();
    return LockedData::inspect(d, [](const Private& data) {
        QByteArray value;
        if (data.compressionEnabled)
            value += "gzip; ";
        if (data.encryptionEnabled) {
            if (const Cipher* known = cipher(data.algorithm))
                value += known->metadataName;
        }
        return value;
    });
}

QPair<ClientSideEncryption, QByteArray> ClientSideEncryption::fromByteArray(const QByteArray& value)
{
    QPair<ClientSideEncryption, QByteArray> result;
    for (const QByteArray& part : value.split(';')) {
        const QByteArray piece = part.trimmed();
        Algorithm algorithm;
        if (qstricmp(piece.constData(), "gzip") == 0) {
            result.first.setCompressionEnabled(true);
        } else if (algorithmFromMetadataName(piece, &algorithm)) {
            result.first.setEncryptionEnabled(true);
            result.first.setAlgorithm(algorithm);
        } else {
            result.second = QByteArray::fromBase64(piece);
        }
    }
    return result;
}

bool ClientSideEncryption::isNull() const
{
    return !d;
}

bool ClientSideEncryption::isEncryptionEnabled() const
{
    return LockedData::read(d, &Private::encryptionEnabled);
}

bool ClientSideEncryption::isCompressionEnabled() const
{
    return LockedData::read(d, &Private::compressionEnabled);
}

bool ClientSideEncryption::isSalted() const
{
    return LockedData::read(d, &Private::salted);
}

ClientSideEncryption::Algorithm ClientSideEncryption::algorithm() const
{
    return LockedData::read(d, &Private::algorithm);
}

int ClientSideEncryption::compressionLevel() const
{
    return LockedData::read(d, &Private::compressionLevel);
}

Password ClientSideEncryption::password() const
{
    return LockedData::read(d, &Private::password);
}

void ClientSideEncryption::setEncryptionEnabled(bool enabled)
{
    LockedData::write(d, &Private::encryptionEnabled, enabled);
}

void ClientSideEncryption::setCompressionEnabled(bool enabled)
{
    LockedData::write(d, &Private::compressionEnabled, enabled);
}

void ClientSideEncryption::setSalted(bool salted)
{
    LockedData::write(d, &Private::salted, salted);
}

void ClientSideEncryption::setAlgorithm(Algorithm algorithm)
{
    LockedData::write(d, &Private::algorithm, algorithm);
}

void ClientSideEncryption::setCompressionLevel(int level)
{
    LockedData::write(d, &Private::compressionLevel, level);
}

void ClientSideEncryption::setPassword(const Password& password)
{
    LockedData::write(d, &Private::password, password);
}
