#include "crypto/openssl.h"

#include <QMutex>

#include "crypto/opensslloader.h"

namespace {

using Context = evp_cipher_ctx_st;
using Cipher = OpenSsl::Cipher;
struct evp_md_st;

using ContextNewFunction = Context* (*)();
using ContextFreeFunction = void (*)(Context*);
using CipherInitFunction = int (*)(Context*, const Cipher*, void*, const unsigned char*, const unsigned char*);
using UpdateFunction = int (*)(Context*, unsigned char*, int*, const unsigned char*, int);
using FinalFunction = int (*)(Context*, unsigned char*, int*);
using CipherFunction = const Cipher* (*)();
using DigestFunction = const evp_md_st* (*)();
using BytesToKeyFunction = int (*)(const Cipher*, const evp_md_st*, const unsigned char*, const unsigned char*, int,
                                   int, unsigned char*, unsigned char*);
using CipherLengthFunction = int (*)(const Cipher*);
using RandomFunction = int (*)(unsigned char*, int);

template <typename Function>
Function resolved(const char* name)
{
    return reinterpret_cast<Function>(OpenSslLoader::symbol(name));
}

// Indexed by ClientSideEncryption::Algorithm.
const char* const global_cipherFunctions[] = {
    "EVP_bf_cbc",         "EVP_bf_cfb64",       "EVP_bf_ofb",         "EVP_des_ede3_cbc",
    "EVP_des_ede3_cfb64", "EVP_des_ede3_ofb",   "EVP_aes_128_cbc",    "EVP_aes_192_cbc",
    "EVP_aes_256_cbc",    "EVP_aes_128_cfb128", "EVP_aes_192_cfb128", "EVP_aes_256_cfb128",
    "EVP_aes_128_cfb1",   "EVP_aes_192_cfb1",   "EVP_aes_256_cfb1",   "EVP_aes_128_cfb8",
    "EVP_aes_192_cfb8",   "EVP_aes_256_cfb8",   "EVP_aes_128_ofb",    "EVP_aes_192_ofb",
    "EVP_aes_256_ofb"};
const int global_cipherCount = int(sizeof global_cipherFunctions / sizeof global_cipherFunctions[0]);

bool isBlowfish(ClientSideEncryption::Algorithm algorithm)
{
    return algorithm == ClientSideEncryption::BlowfishCbc || algorithm == ClientSideEncryption::BlowfishCfb
        || algorithm == ClientSideEncryption::BlowfishOfb;
}

const unsigned char* bytes(const QByteArray& data)
{
    return reinterpret_cast<const unsigned char*>(data.constData());
}

unsigned char* bytes(char* data)
{
    return reinterpret_cast<unsigned char*>(data);
}

// The init fetches the cipher's implementation from its provider, and
// OpenSSL 3.0 can lose one when two threads fetch the same cipher for the
// first time at once. One init at a time costs nothing per file.
QMutex global_initMutex;

const QString global_encryptInitFailed = QStringLiteral("OpenSSL : EVP_EncryptInit_ex failed");
const QString global_decryptInitFailed = QStringLiteral("OpenSSL : EVP_DecryptInit_ex failed");

} // namespace

OpenSsl::OpenSsl() = default;

OpenSsl::~OpenSsl()
{
    cleanUp();
}

const OpenSsl::Cipher* OpenSsl::cipher(ClientSideEncryption::Algorithm algorithm)
{
    if (int(algorithm) < 0 || int(algorithm) >= global_cipherCount)
        return nullptr;
    const auto function = resolved<CipherFunction>(global_cipherFunctions[algorithm]);
    return function ? function() : nullptr;
}

bool OpenSsl::randPseudoBytes(unsigned char* buffer, int length)
{
    const auto random = resolved<RandomFunction>("RAND_bytes");
    return random && random(buffer, length) == 1;
}

bool OpenSsl::bytesToKey(const QByteArray& salt, const QByteArray& password)
{
    const auto derive = resolved<BytesToKeyFunction>("EVP_BytesToKey");
    const auto sha1 = resolved<DigestFunction>("EVP_sha1");
    // The library reads exactly eight bytes of salt, whatever it is given.
    if (!m_cipher || !derive || !sha1 || (!salt.isEmpty() && salt.size() != _saltLength))
        return false;
    m_key.fill('\0', resolved<CipherLengthFunction>("EVP_CIPHER_get_key_length")(m_cipher));
    m_iv.fill('\0', resolved<CipherLengthFunction>("EVP_CIPHER_get_iv_length")(m_cipher));
    return derive(m_cipher, sha1(), salt.isEmpty() ? nullptr : bytes(salt), bytes(password), int(password.size()), 1,
                  bytes(m_key.data()), bytes(m_iv.data()))
        > 0;
}

bool OpenSsl::prepare(ClientSideEncryption::Algorithm algorithm, const QString& failure)
{
    cleanUp();
    // Blowfish lives in the legacy provider since OpenSSL 3; without it the
    // init below would fail with nothing to tell the user why.
    if (isBlowfish(algorithm) && !OpenSslLoader::hasLegacyProvider())
        return fail(QStringLiteral("OpenSSL : Blowfish is not available: the system's OpenSSL has no legacy "
                                   "provider"));
    const auto create = resolved<ContextNewFunction>("EVP_CIPHER_CTX_new");
    m_cipher = cipher(algorithm);
    if (!create || !m_cipher)
        return fail(failure);
    m_context = create();
    return m_context || fail(failure);
}

bool OpenSsl::startCipher(bool encrypt, const QString& failure)
{
    const auto start = resolved<CipherInitFunction>(encrypt ? "EVP_EncryptInit_ex" : "EVP_DecryptInit_ex");
    QMutexLocker locker(&global_initMutex);
    if (start(m_context, m_cipher, nullptr, bytes(m_key), bytes(m_iv)) == 1)
        return true;
    locker.unlock();
    cleanUp();
    return fail(failure);
}

bool OpenSsl::init(ClientSideEncryption::Algorithm algorithm, const QByteArray& password, const QByteArray& salt,
                   bool encrypt)
{
    const QString& failure = encrypt ? global_encryptInitFailed : global_decryptInitFailed;
    if (!prepare(algorithm, failure))
        return false;
    if (!bytesToKey(salt, password)) {
        cleanUp();
        return fail(failure);
    }
    return startCipher(encrypt, failure);
}

bool OpenSsl::encryptInit(ClientSideEncryption::Algorithm algorithm, const QByteArray& password,
                          const QByteArray& salt)
{
    return init(algorithm, password, salt, true);
}

bool OpenSsl::decryptInit(ClientSideEncryption::Algorithm algorithm, const QByteArray& password,
                          const QByteArray& salt)
{
    return init(algorithm, password, salt, false);
}

bool OpenSsl::decryptInit(ClientSideEncryption::Algorithm algorithm, const DecryptionPasswords& passwords,
                          const QByteArray& iv, const QByteArray& salt)
{
    if (!prepare(algorithm, global_decryptInitFailed))
        return false;
    // The vector depends on password and salt alone: comparing it picks the
    // password without a trial decryption. Without a vector only the
    // compatibility password may be tried.
    QList<Password> candidates;
    if (iv.isEmpty()) {
        if (!passwords.compatibilityPassword().isEmpty())
            candidates.append(passwords.compatibilityPassword());
    } else {
        for (int i = 0; i < passwords.count(); ++i)
            candidates.append(passwords.at(i));
    }
    for (const Password& password : std::as_const(candidates)) {
        if (!bytesToKey(salt, password.toUtf8()))
            break;
        if (iv.isEmpty() || m_iv == iv)
            return startCipher(false, global_decryptInitFailed);
    }
    cleanUp();
    return fail(QStringLiteral("No valid password was found"));
}

bool OpenSsl::encryptUpdate(char* out, int* outLength, const char* in, int inLength)
{
    const auto update = resolved<UpdateFunction>("EVP_EncryptUpdate");
    if (m_context && update(m_context, bytes(out), outLength, reinterpret_cast<const unsigned char*>(in), inLength))
        return true;
    return fail(QStringLiteral("OpenSSL : EVP_EncryptUpdate failed"));
}

bool OpenSsl::encryptFinal(char* out, int* outLength)
{
    const auto final = resolved<FinalFunction>("EVP_EncryptFinal_ex");
    if (m_context && final(m_context, bytes(out), outLength))
        return true;
    return fail(QStringLiteral("OpenSSL error : EVP_EncryptFinal_ex failed"));
}

bool OpenSsl::decryptUpdate(char* out, int* outLength, const QByteArray& in)
{
    const auto update = resolved<UpdateFunction>("EVP_DecryptUpdate");
    if (m_context && update(m_context, bytes(out), outLength, bytes(in), int(in.size())))
        return true;
    return fail(QStringLiteral("OpenSSL : EVP_DecryptUpdate failed"));
}

bool OpenSsl::decryptFinal(char* out, int* outLength)
{
    const auto final = resolved<FinalFunction>("EVP_DecryptFinal_ex");
    if (m_context && final(m_context, bytes(out), outLength))
        return true;
    return fail(QStringLiteral("OpenSSL error : EVP_DecryptFinal_ex failed"));
}

int OpenSsl::cipherBlockSize() const
{
    return m_cipher ? resolved<CipherLengthFunction>("EVP_CIPHER_get_block_size")(m_cipher) : 1;
}

void OpenSsl::cleanUp()
{
    if (m_context) {
        resolved<ContextFreeFunction>("EVP_CIPHER_CTX_free")(m_context);
        m_context = nullptr;
    }
    m_key.fill('\0');
}

bool OpenSsl::fail(const QString& message)
{
    m_lastError = message;
    return false;
}
