#include "items/driver.h"

#include <QDir>
#include <QFileInfo>

#include "items/amazons3account.h"
#include "items/cloudianaccount.h"
#include "items/connectriaaccount.h"
#include "items/constantaccount.h"
#include "items/googlestorageaccount.h"
#include "items/greenqloudaccount.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/niftyaccount.h"
#include "items/others3account.h"
#include "items/url.h"

namespace {

const char* const providerNames[] = {"AmazonS3",   "GoogleCloudStorage", "Connectria",
                                     "Cloudian",   "Nifty",              "Constant",
                                     "GreenQloud", "S3compatible"};
const int providerCount = int(sizeof(providerNames) / sizeof(providerNames[0]));

bool startsWithAny(const QString& text, std::initializer_list<const char*> prefixes)
{
    for (const char* prefix : prefixes) {
        if (text.startsWith(QLatin1String(prefix), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

// An "s3://" or "gs://" path cut into its parts.
struct CloudPath
{
    bool valid = false;
    bool google = false;
    QString bucket;
    int port = 0;      // 0 when the path names none
    QString rest;      // what follows the "/" behind the bucket
    bool hasSlash = false;
};

CloudPath splitCloudPath(const QString& path)
{
    CloudPath parts;
    parts.google = path.startsWith(QLatin1String("gs://"), Qt::CaseInsensitive);
    parts.valid = parts.google || path.startsWith(QLatin1String("s3://"), Qt::CaseInsensitive);
    if (!parts.valid)
        return parts;
    const qsizetype start = 5;
    const qsizetype slash = path.indexOf(QLatin1Char('/'), start);
    parts.hasSlash = slash >= 0;
    parts.bucket = path.mid(start, parts.hasSlash ? slash - start : -1);
    if (parts.hasSlash)
        parts.rest = path.mid(slash + 1);
    const qsizetype colon = parts.bucket.indexOf(QLatin1Char(':'));
    if (colon >= 0) {
        parts.port = parts.bucket.mid(colon + 1).toInt();
        parts.bucket.truncate(colon);
    }
    return parts;
}

} // namespace

QChar Driver::localDelimiter()
{
    Driver* driver = instance();
    FastMutexLocker locker(driver->m_mutex);
    return driver->m_localDelimiter;
}

QSharedPointer<AbstractAccount> Driver::createAccount(AbstractAccount::Provider provider,
                                                      const Id& id)
{
    QSharedPointer<AbstractAccount> account;
    switch (provider) {
    case AbstractAccount::AmazonS3Provider:
        account = QSharedPointer<AmazonS3Account>::create();
        break;
    case AbstractAccount::GoogleStorageProvider:
        account = QSharedPointer<GoogleStorageAccount>::create();
        break;
    case AbstractAccount::ConnectriaProvider:
        account = QSharedPointer<ConnectriaAccount>::create();
        break;
    case AbstractAccount::CloudianProvider:
        account = QSharedPointer<CloudianAccount>::create();
        break;
    case AbstractAccount::NiftyProvider:
        account = QSharedPointer<NiftyAccount>::create();
        break;
    case AbstractAccount::ConstantProvider:
        account = QSharedPointer<ConstantAccount>::create();
        break;
    case AbstractAccount::GreenQloudProvider:
        account = QSharedPointer<GreenQloudAccount>::create();
        break;
    case AbstractAccount::OtherS3Provider:
        account = QSharedPointer<OtherS3Account>::create();
        break;
    }
    if (account)
        account->setId(id);
    return account;
}

QString Driver::providerToString(AbstractAccount::Provider provider)
{
    const int index = int(provider);
    if (index < 0 || index >= providerCount)
        return QString();
    return QString::fromLatin1(providerNames[index]);
}

AbstractAccount::Provider Driver::providerFromString(const QString& text)
{
    for (int index = 0; index < providerCount; ++index) {
        if (text == QLatin1String(providerNames[index]))
            return AbstractAccount::Provider(index);
    }
    return AbstractAccount::OtherS3Provider;
}

AbstractFS::FileSystemType Driver::fileSystemFromProvider(AbstractAccount::Provider provider)
{
    return provider == AbstractAccount::GoogleStorageProvider ? AbstractFS::GSFileSystem
                                                              : AbstractFS::S3FileSystem;
}

AbstractAccount::Provider Driver::providerFromDomain(const QString& host)
{
    const QList<QPair<QString, AbstractAccount::Provider>> known = {
        {AmazonS3Account::defaultHost(), AbstractAccount::AmazonS3Provider},
        {GoogleStorageAccount::defaultHost(), AbstractAccount::GoogleStorageProvider},
        {ConnectriaAccount::defaultHost(), AbstractAccount::ConnectriaProvider},
        {CloudianAccount::vendorHost(), AbstractAccount::CloudianProvider},
        {NiftyAccount::defaultHost(), AbstractAccount::NiftyProvider},
        {ConstantAccount::defaultHost(), AbstractAccount::ConstantProvider},
        {GreenQloudAccount::defaultHost(), AbstractAccount::GreenQloudProvider},
    };
    for (const auto& entry : known) {
        if (host == entry.first)
            return entry.second;
    }
    for (const auto& entry : known) {
        if (host.endsWith(QLatin1Char('.') + entry.first, Qt::CaseInsensitive))
            return entry.second;
    }
    return AbstractAccount::OtherS3Provider;
}

QSharedPointer<Endpoint> Driver::createEndpoint(const QString& host,
                                                AbstractFS::FileSystemType type)
{
    if (type == AbstractFS::GSFileSystem)
        return QSharedPointer<GSEndpoint>::create(host);
    return QSharedPointer<S3Endpoint>::create(host);
}

QList<QSharedPointer<Endpoint>> Driver::standardEndpoints()
{
    return {AmazonS3Account::defaultEndpoint(), GoogleStorageAccount::defaultEndpoint()};
}

void Driver::createAccountUsers(const QSharedPointer<AbstractAccount>& account)
{
    Q_UNUSED(account);
}

QSharedPointer<LocalFolder> Driver::createChildFolder(
    const QSharedPointer<AbstractLocalContainer>& parent, const QString& name)
{
    return QSharedPointer<LocalFolder>::create(parent, name);
}

QSharedPointer<LocalFile> Driver::createChildFile(
    const QSharedPointer<AbstractLocalContainer>& parent, const QString& name)
{
    return QSharedPointer<LocalFile>::create(parent, name);
}

QString Driver::normalizeFolder(const QString& path)
{
    const QString trimmed = path.trimmed();
    if (trimmed.isEmpty())
        return trimmed;
    const QChar delimiter = startsWithAny(trimmed, {"s3:", "gs:", "http:", "https:"})
                                ? QLatin1Char('/')
                                : localDelimiter();
    return trimmed.endsWith(delimiter) ? trimmed : trimmed + delimiter;
}

QUrl Driver::urlFromDisplayPath(const QString& path, const QString& endpoint, int port)
{
    const QString p = path.trimmed();
    if (p.isEmpty())
        return QUrl();
    const CloudPath parts = splitCloudPath(p);
    if (!parts.valid) {
        if (startsWithAny(p, {"http://", "https://"}))
            return QUrl(p);
        return QUrl::fromLocalFile(p);
    }
    QString host = endpoint;
    if (host.isEmpty())
        host = parts.google ? GoogleStorageAccount::defaultHost() : AmazonS3Account::defaultHost();
    if (parts.port != 0)
        port = parts.port;

    // The scheme only carries the path: requests use the account's protocol.
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    if (port != 0)
        url.setPort(port);
    if (Url::isDnsCompatible(parts.bucket)) {
        url.setHost(parts.bucket + QLatin1Char('.') + host);
        url.setPath(parts.hasSlash ? QLatin1Char('/') + parts.rest : QString());
    } else {
        url.setHost(host);
        url.setPath(QLatin1Char('/') + parts.bucket + QLatin1Char('/') + parts.rest);
    }
    return url;
}

int Driver::portFromDisplayPath(const QString& path)
{
    return splitCloudPath(path.trimmed()).port;
}

int Driver::explicitPort(int optionPort, const QStringList& displayPaths)
{
    for (const QString& path : displayPaths) {
        const int port = portFromDisplayPath(path);
        if (port != 0)
            return port;
    }
    return optionPort;
}

QSharedPointer<AbstractItem> Driver::itemFromUrl(const QUrl& url,
                                                 const QList<QSharedPointer<AbstractFolder>>& roots,
                                                 const QList<QSharedPointer<Endpoint>>& endpoints)
{
    Q_UNUSED(endpoints);
    const QString scheme = url.scheme();
    if (scheme == QLatin1String("file"))
        return itemFromLocalUrl(url, roots);
    return QSharedPointer<AbstractItem>();
}

QSharedPointer<AbstractItem> Driver::itemFromLocalUrl(
    const QUrl& url, const QList<QSharedPointer<AbstractFolder>>& roots)
{
    if (!url.isValid())
        return QSharedPointer<AbstractItem>();
    const QFileInfo info(url.toLocalFile());
    // A missing local folder fails here, when the path is resolved.
    if (!info.exists())
        return QSharedPointer<AbstractItem>();
    const bool isDir = info.isDir();
    const QString path = QDir::cleanPath(info.absoluteFilePath());

    // Every path starts from the root drive, never from a mount point below it.
    const QUrl rootUrl(QUrl::fromLocalFile(path.left(1)).toString());
    QSharedPointer<AbstractLocalContainer> parent;
    for (const QSharedPointer<AbstractFolder>& root : roots) {
        if (root && root->fileSystemClass() == AbstractFS::LocalClass && root->url() == rootUrl) {
            parent = root.staticCast<AbstractLocalContainer>();
            break;
        }
    }
    if (!parent)
        return QSharedPointer<AbstractItem>();

    const QChar delimiter = localDelimiter();
    const QStringList components =
        path.mid(parent->path().size()).split(delimiter, Qt::SkipEmptyParts);
    if (components.isEmpty())
        return parent;
    for (qsizetype i = 0; i + 1 < components.size(); ++i)
        parent = QSharedPointer<LocalFolder>::create(parent, components.at(i));
    if (isDir)
        return createChildFolder(parent, components.last());
    return createChildFile(parent, components.last());
}
