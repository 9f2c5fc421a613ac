#include "crypto/opensslloader.h"

#include "crypto/openssl.h"

#include <link.h>

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QLibrary>
#include <QSet>

#include <algorithm>
#include <memory>

namespace {

// OpenSSL 3 names: the context is allocated and freed rather than embedded,
// RAND_bytes replaces RAND_pseudo_bytes, and the cipher parameters are read
// through getters instead of the structure.
const char* const global_symbolNames[] = {
    "EVP_CIPHER_CTX_new", "EVP_EncryptInit_ex", "EVP_EncryptUpdate", "EVP_EncryptFinal_ex",
    "EVP_DecryptInit_ex", "EVP_DecryptUpdate", "EVP_DecryptFinal_ex", "EVP_des_ede3_cbc",
    "EVP_des_ede3", "EVP_des_ede3_cfb64", "EVP_des_ede3_ofb", "EVP_bf_cbc", "EVP_bf_cfb64",
    "EVP_bf_ofb", "EVP_aes_128_cbc", "EVP_aes_128_cfb128", "EVP_aes_128_cfb1", "EVP_aes_128_cfb8",
    "EVP_aes_128_ofb", "EVP_aes_192_cbc", "EVP_aes_192_cfb128", "EVP_aes_192_cfb1",
    "EVP_aes_192_cfb8", "EVP_aes_192_ofb", "EVP_aes_256_cbc", "EVP_aes_256_cfb128",
    "EVP_aes_256_cfb1", "EVP_aes_256_cfb8", "EVP_aes_256_ecb", "EVP_aes_256_ofb",
    "EVP_CIPHER_CTX_free", "EVP_BytesToKey", "EVP_sha1", "RAND_bytes",
    "EVP_CIPHER_CTX_reset", "EVP_CIPHER_get_key_length", "EVP_CIPHER_get_iv_length",
    "EVP_CIPHER_get_block_size", "OSSL_PROVIDER_load", "OSSL_PROVIDER_unload",
    "OPENSSL_thread_stop",
};

QHash<QByteArray, void*>& global_symbols()
{
    static QHash<QByteArray, void*> symbols;
    return symbols;
}

// The providers stay loaded until exit. Made after the library's own
// initialisation, the holder is destroyed before the library's exit handler
// runs, so that the handler finds the providers unused and frees them all.
class Providers
{
public:
    // Loading any provider by name stops OpenSSL from loading the default
    // one by itself, so both are named. Blowfish needs "legacy"; Triple DES
    // and AES are in "default".
    Providers()
    {
        using LoadFunction = void* (*)(void*, const char*);
        const auto load = reinterpret_cast<LoadFunction>(OpenSslLoader::symbol("OSSL_PROVIDER_load"));
        m_unload = reinterpret_cast<int (*)(void*)>(OpenSslLoader::symbol("OSSL_PROVIDER_unload"));
        m_legacy = load(nullptr, "legacy");
        m_default = load(nullptr, "default");
    }
    ~Providers()
    {
        for (void* provider : {m_legacy, m_default})
            if (provider)
                m_unload(provider);
    }
    Providers(const Providers&) = delete;
    Providers& operator=(const Providers&) = delete;

    bool hasLegacy() const { return m_legacy != nullptr; }

private:
    int (*m_unload)(void*) = nullptr;
    void* m_legacy = nullptr;
    void* m_default = nullptr;
};

const Providers& loadProviders()
{
    static const Providers providers;
    return providers;
}

int dlIterateCallback(struct dl_phdr_info* info, size_t size, void* data)
{
    if (size < 8)
        return 0;
    const QString name = QString::fromLocal8Bit(info->dlpi_name);
    if (!name.isEmpty())
        static_cast<QSet<QString>*>(data)->insert(QFileInfo(name).absolutePath());
    return 0;
}

QStringList findAll(const QString& pattern)
{
    QStringList found;
    for (const QString& folder : OpenSslLoader::libraryPathList()) {
        const QStringList names = QDir(folder).entryList({pattern}, QDir::Files);
        for (const QString& name : names)
            found << folder + QLatin1Char('/') + name;
    }
    std::sort(found.begin(), found.end(), OpenSslLoader::libGreaterThan);
    return found;
}

bool loadBoth(QLibrary* ssl, QLibrary* crypto)
{
    return crypto->load() && ssl->load();
}

void unloadBoth(QLibrary* ssl, QLibrary* crypto)
{
    ssl->unload();
    crypto->unload();
}

// The third way: every libcrypto found, highest first, with the libssl of
// the same version.
bool loadFromSearch(QLibrary* ssl, QLibrary* crypto)
{
    const QStringList ssls = OpenSslLoader::findAllLibSsl();
    for (const QString& cryptoPath : OpenSslLoader::findAllLibCrypto()) {
        crypto->setFileName(cryptoPath);
        if (!crypto->load())
            continue;
        const QString suffix = QFileInfo(cryptoPath).completeSuffix();
        for (const QString& sslPath : ssls) {
            if (!sslPath.endsWith(suffix))
                continue;
            ssl->setFileName(sslPath);
            if (ssl->load())
                return true;
        }
        crypto->unload();
    }
    return false;
}

} // namespace

QStringList OpenSslLoader::libraryPathList()
{
    QStringList paths;
    const QString ldPath = QString::fromLatin1(qgetenv("LD_LIBRARY_PATH"));
    paths << ldPath.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    paths << "/usr/local/lib" << "/usr/lib" << "/lib";
    paths << "/usr/local/lib64" << "/usr/lib64" << "/lib64";
    paths << "/usr/local/lib32" << "/usr/lib32" << "/lib32";
    QSet<QString> loaded;
    dl_iterate_phdr(dlIterateCallback, &loaded);
    paths << loaded.values();
    return paths;
}

bool OpenSslLoader::libGreaterThan(const QString& a, const QString& b)
{
    const QStringList left = a.split(QLatin1Char('.'));
    const QStringList right = b.split(QLatin1Char('.'));
    if (right.size() < 2)
        return true;
    for (int i = 1; i < left.size(); ++i) {
        if (i >= right.size())
            return true;
        bool leftOk = false;
        bool rightOk = false;
        const int l = left.at(i).toInt(&leftOk);
        const int r = right.at(i).toInt(&rightOk);
        if (leftOk && rightOk) {
            if (l != r)
                return l > r;
        } else if (left.at(i) != right.at(i)) {
            return right.at(i) < left.at(i);
        }
    }
    return false;
}

QStringList OpenSslLoader::findAllLibSsl()
{
    return findAll(QStringLiteral("libssl.*"));
}

QStringList OpenSslLoader::findAllLibCrypto()
{
    return findAll(QStringLiteral("libcrypto.*"));
}

QPair<QLibrary*, QLibrary*> OpenSslLoader::loadOpenSsl()
{
    auto* ssl = new QLibrary(QStringLiteral("ssl"), QStringLiteral("0.9.8"));
    auto* crypto = new QLibrary(QStringLiteral("crypto"), QStringLiteral("0.9.8"));
    if (loadBoth(ssl, crypto))
        return {ssl, crypto};
    unloadBoth(ssl, crypto);
    ssl->setFileName(QStringLiteral("ssl"));
    crypto->setFileName(QStringLiteral("crypto"));
    if (loadBoth(ssl, crypto))
        return {ssl, crypto};
    unloadBoth(ssl, crypto);
    if (loadFromSearch(ssl, crypto))
        return {ssl, crypto};
    delete ssl;
    delete crypto;
    return {nullptr, nullptr};
}

bool OpenSslLoader::hasLegacyProvider()
{
    // Only asked once the library is loaded, which loads the providers.
    return OpenSslLoader::symbol("OSSL_PROVIDER_load") && loadProviders().hasLegacy();
}

void* OpenSslLoader::symbol(const char* name)
{
    return global_symbols().value(QByteArray(name));
}

void OpenSslLoader::releaseThreadState()
{
    if (auto stop = reinterpret_cast<void (*)()>(symbol("OPENSSL_thread_stop")))
        stop();
}

QPair<bool, QString> initializeOpenSSL()
{
    // The libraries stay loaded for the life of the process; deleting the
    // handles at exit does not unload them.
    static std::unique_ptr<QLibrary> global_libSsl;
    static std::unique_ptr<QLibrary> global_libCrypto;
    const QPair<QLibrary*, QLibrary*> libraries = OpenSslLoader::loadOpenSsl();
    global_libSsl.reset(libraries.first);
    global_libCrypto.reset(libraries.second);
    if (!libraries.first)
        return {false, QStringLiteral("Could not find OpenSSL crypto library.\n"
                                      "Check to make sure you have a recent version of openssl installed")};
    for (const char* name : global_symbolNames) {
        QFunctionPointer address = libraries.first->resolve(name);
        if (!address)
            address = libraries.second->resolve(name);
        if (!address)
            return {false, QStringLiteral("OpenSSL error : cannot resolve symbol ") + QLatin1String(name)};
        global_symbols().insert(QByteArray(name), reinterpret_cast<void*>(address));
    }
    loadProviders();
    StreamDecryptor::setFactory([] { return QSharedPointer<StreamDecryptor>(new OpenSsl); });
    return {true, QString()};
}
