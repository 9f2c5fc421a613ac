#include "items/driver.h"

#include <QDir>
#include <QFileInfo>
#include <QUrlQuery>

#include "items/amazons3account.h"
#include "items/cloudianaccount.h"
#include "items/wspath.h"
#include "items/connectriaaccount.h"
#include "items/constantaccount.h"
#include "items/googlestorageaccount.h"
#include "items/greenqloudaccount.h"
#include "items/gsbucket.h"
#include "items/gsfile.h"
#include "items/gsfolder.h"
#include "items/gsuser.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/niftyaccount.h"
#include "items/others3account.h"
#include "items/s3bucket.h"
#include "items/s3file.h"
#include "items/s3folder.h"
#include "items/s3user.h"
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

// A URL reduced to what tells a bucket apart: scheme, host and port.
QUrl bucketAddress(QUrl url, const QString& scheme)
{
    url.setScheme(scheme);
    url.setPath(QStringLiteral("/"));
    url.setQuery(QString());
    return url;
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

namespace {
// The published identifiers of the two groups of everybody.
const QByteArray global_s3AllUsersUri = QByteArrayLiteral("http://acs.amazonaws.com/groups/global/AllUsers");
const QByteArray global_s3AuthenticatedUsersUri =
    QByteArrayLiteral("http://acs.amazonaws.com/groups/global/AuthenticatedUsers");
const QByteArray global_gsAllUsersId = QByteArrayLiteral("AllUsers");
const QByteArray global_gsAuthenticatedUsersId = QByteArrayLiteral("AuthenticatedUsers");
// Google's canonical user of anonymous access. The value has not been
// checked against the one Google publishes; confirm it before relying on it.
const QByteArray global_gsAnonymousId =
    QByteArrayLiteral("00b4903a97d0e4b7a1c3e5f7092b4d6f8a1c3e5f7092b4d6f8a1c3e5f7092b4d6f");

bool isGoogle(const QSharedPointer<AbstractAccount>& account)
{
    return account && account->fileSystemType() == AbstractFS::GSFileSystem;
}
} // namespace

void Driver::createAccountUsers(const QSharedPointer<AbstractAccount>& account)
{
    if (!account || account->fileSystemClass() != AbstractFS::CloudClass)
        return;
    allUsersGroupByDomain(account);
    allAuthenticatedUsersGroupByDomain(account);
    if (!isGoogle(account))
        return;
    const auto google = account.staticCast<GoogleStorageAccount>();
    const QString project = QString::fromLatin1(google->projectId());
    if (!google->userId().isEmpty())
        createUser(account, AbstractUser::UserById, google->userId());
    const QList<QPair<QByteArray, QString>> groups = {
        {google->ownersId(), QStringLiteral("Project %1 owners")},
        {google->editorsId(), QStringLiteral("Project %1 editors")},
        {google->teamId(), QStringLiteral("Project %1 team")},
    };
    for (const auto& group : groups) {
        if (!group.first.isEmpty())
            createNamedUser(account, AbstractUser::GroupById, group.first, group.second.arg(project));
    }
    createNamedUser(account, AbstractUser::UserById, global_gsAnonymousId, QStringLiteral("Anonymous"));
}

QSharedPointer<AbstractUser> Driver::allUsersGroupByDomain(const QSharedPointer<AbstractAccount>& account)
{
    const QSharedPointer<AbstractUser> known = groupByDomain(account, AbstractUser::AllUsers);
    return known ? known : createAllUsersGroup(account);
}

QSharedPointer<AbstractUser> Driver::allAuthenticatedUsersGroupByDomain(
    const QSharedPointer<AbstractAccount>& account)
{
    const QSharedPointer<AbstractUser> known = groupByDomain(account, AbstractUser::AllAuthenticatedUsers);
    return known ? known : createAllAuthenticatedUsersGroup(account);
}

QSharedPointer<AbstractUser> Driver::groupByDomain(const QSharedPointer<AbstractAccount>& account,
                                                   AbstractUser::UserType type)
{
    Driver* driver = instance();
    FastMutexLocker locker(driver->m_mutex);
    return driver->m_domainGroups.value(qMakePair(AbstractUser::domainOf(account), int(type)));
}

QSharedPointer<AbstractUser> Driver::createAllUsersGroup(const QSharedPointer<AbstractAccount>& account)
{
    return createNamedUser(account, AbstractUser::AllUsers,
                           isGoogle(account) ? global_gsAllUsersId : global_s3AllUsersUri,
                           QStringLiteral("All Users"));
}

QSharedPointer<AbstractUser> Driver::createAllAuthenticatedUsersGroup(
    const QSharedPointer<AbstractAccount>& account)
{
    return createNamedUser(account, AbstractUser::AllAuthenticatedUsers,
                           isGoogle(account) ? global_gsAuthenticatedUsersId : global_s3AuthenticatedUsersUri,
                           QStringLiteral("Authenticated Users"));
}

QSharedPointer<AbstractUser> Driver::createNamedUser(const QSharedPointer<AbstractAccount>& account,
                                                     AbstractUser::UserType type, const QByteArray& id,
                                                     const QString& displayName)
{
    const QSharedPointer<AbstractUser> user = createUser(account, type, id);
    if (user && user->displayName().isEmpty())
        user->setDisplayName(displayName);
    return user;
}

QSharedPointer<AbstractUser> Driver::user(const UserKey& key)
{
    Driver* driver = instance();
    FastMutexLocker locker(driver->m_mutex);
    return driver->m_users.value(key);
}

QSharedPointer<AbstractUser> Driver::createUser(const QSharedPointer<AbstractAccount>& account,
                                                AbstractUser::UserType type, const QByteArray& id)
{
    const UserKey key(AbstractUser::domainOf(account), type, id);
    if (QSharedPointer<AbstractUser> known = user(key))
        return known;
    // Made outside the lock, which is never held across a call into another
    // object; should another thread have registered the key meanwhile, its
    // user wins and this one is dropped.
    QSharedPointer<AbstractUser> made;
    switch (account ? account->fileSystemType() : AbstractFS::LocalFileSystem) {
    case AbstractFS::S3FileSystem:
        made = QSharedPointer<S3User>::create(account.staticCast<AmazonS3Account>(), type, id);
        break;
    case AbstractFS::GSFileSystem:
        made = QSharedPointer<GSUser>::create(account.staticCast<GoogleStorageAccount>(), type, id);
        break;
    default:
        return made;
    }
    Driver* driver = instance();
    FastMutexLocker locker(driver->m_mutex);
    auto it = driver->m_users.constFind(key);
    if (it != driver->m_users.constEnd())
        return it.value();
    driver->m_users.insert(key, made);
    // The groups of everybody are also found by their domain alone.
    if (type == AbstractUser::AllUsers || type == AbstractUser::AllAuthenticatedUsers)
        driver->m_domainGroups.insert(qMakePair(key.domain(), int(type)), made);
    return made;
}

QSharedPointer<AbstractUser> Driver::accountOwner(const QSharedPointer<AbstractAccount>& account)
{
    Driver* driver = instance();
    FastMutexLocker locker(driver->m_mutex);
    return driver->m_accountOwners.value(account);
}

void Driver::setAccountOwner(const QSharedPointer<AbstractUser>& user)
{
    if (!user)
        return;
    const QSharedPointer<AbstractAccount> account = user->account();
    Driver* driver = instance();
    FastMutexLocker locker(driver->m_mutex);
    driver->m_accountOwners.insert(account, user);
}

QSharedPointer<AbstractBucket> Driver::createBucketItem(const QString& name,
                                                        const QDateTime& creationDate,
                                                        const QSharedPointer<AbstractAccount>& account)
{
    const QChar delimiter = QLatin1Char('/');
    switch (account ? account->fileSystemType() : AbstractFS::LocalFileSystem) {
    case AbstractFS::S3FileSystem:
        return QSharedPointer<S3Bucket>::create(delimiter, name, creationDate,
                                                account.staticCast<AmazonS3Account>());
    case AbstractFS::GSFileSystem:
        return QSharedPointer<GSBucket>::create(delimiter, name, creationDate,
                                                account.staticCast<GoogleStorageAccount>());
    default:
        return QSharedPointer<AbstractBucket>();
    }
}

QSharedPointer<AbstractWSFolder> Driver::createFolder(const QString& key,
                                                      const QSharedPointer<AbstractS3Folder>& parent,
                                                      const QByteArray& versionId,
                                                      bool commonPrefix)
{
    switch (parent ? parent->fileSystemType() : AbstractFS::LocalFileSystem) {
    case AbstractFS::S3FileSystem:
        return QSharedPointer<S3Folder>::create(key, parent, versionId, commonPrefix);
    case AbstractFS::GSFileSystem:
        return QSharedPointer<GSFolder>::create(key, parent, versionId, commonPrefix);
    default:
        return QSharedPointer<AbstractWSFolder>();
    }
}

QSharedPointer<AbstractCloudFile> Driver::createFile(
    const QString& key, qint64 size, const QDateTime& lastModified, const QByteArray& md5,
    const QSharedPointer<AbstractS3Folder>& parent, bool latest, const QByteArray& versionId,
    const QSharedPointer<AbstractUser>& owner, StorageDirective::StorageClass storageClass)
{
    const QDateTime local = lastModified.toLocalTime();
    switch (parent ? parent->fileSystemType() : AbstractFS::LocalFileSystem) {
    case AbstractFS::S3FileSystem:
        return QSharedPointer<S3File>::create(key, size, local, md5, parent, latest, versionId,
                                              owner, storageClass);
    case AbstractFS::GSFileSystem:
        return QSharedPointer<GSFile>::create(key, size, local, md5, parent, latest, versionId,
                                              owner, storageClass);
    default:
        return QSharedPointer<AbstractCloudFile>();
    }
}

QSharedPointer<AbstractWSFolder> Driver::createChildFolder(
    const QSharedPointer<AbstractS3Folder>& parent, const QString& name)
{
    switch (parent ? parent->fileSystemType() : AbstractFS::LocalFileSystem) {
    case AbstractFS::S3FileSystem:
        return QSharedPointer<S3Folder>::create(parent, name);
    case AbstractFS::GSFileSystem:
        return QSharedPointer<GSFolder>::create(parent, name);
    default:
        return QSharedPointer<AbstractWSFolder>();
    }
}

QSharedPointer<AbstractCloudFile> Driver::createChildFile(
    const QSharedPointer<AbstractS3Folder>& parent, const QString& name)
{
    switch (parent ? parent->fileSystemType() : AbstractFS::LocalFileSystem) {
    case AbstractFS::S3FileSystem:
        return QSharedPointer<S3File>::create(parent, name);
    case AbstractFS::GSFileSystem:
        return QSharedPointer<GSFile>::create(parent, name);
    default:
        return QSharedPointer<AbstractCloudFile>();
    }
}

QSharedPointer<AbstractFolder> Driver::createChildFolder(
    const QSharedPointer<AbstractFolder>& parent, const QString& name)
{
    if (!parent)
        return QSharedPointer<AbstractFolder>();
    if (parent->fileSystemClass() == AbstractFS::LocalClass)
        return createChildFolder(parent.staticCast<AbstractLocalContainer>(), name);
    return createChildFolder(parent.staticCast<AbstractS3Folder>(), name);
}

QSharedPointer<AbstractFile> Driver::createChildFile(const QSharedPointer<AbstractFolder>& parent,
                                                     const QString& name)
{
    if (!parent)
        return QSharedPointer<AbstractFile>();
    if (parent->fileSystemClass() == AbstractFS::LocalClass)
        return createChildFile(parent.staticCast<AbstractLocalContainer>(), name);
    return createChildFile(parent.staticCast<AbstractS3Folder>(), name);
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
    const WSPath parts = WSPath::parse(p);
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

bool Driver::isLocalDisplayPath(const QString& path)
{
    return urlFromDisplayPath(path, QString(), 0).isLocalFile();
}

int Driver::portFromDisplayPath(const QString& path)
{
    return WSPath::parse(path.trimmed()).port;
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

QUrl Driver::makeUrl(const QString& bucket, BrindleLib::Protocol protocol,
                     const QSharedPointer<Endpoint>& endpoint)
{
    QUrl url;
    url.setScheme(protocol == BrindleLib::ProtocolHttps ? QStringLiteral("https")
                                                        : QStringLiteral("http"));
    const QString hostName = endpoint ? endpoint->hostName() : QString();
    if (Url::isDnsCompatible(bucket)) {
        url.setHost(bucket + QLatin1Char('.') + hostName);
        url.setPath(QStringLiteral("/"));
    } else {
        url.setHost(hostName);
        url.setPath(QLatin1Char('/') + bucket + QLatin1Char('/'), QUrl::TolerantMode);
    }
    return url;
}

QSharedPointer<AbstractItem> Driver::itemFromUrl(const QUrl& url,
                                                 const QList<QSharedPointer<AbstractFolder>>& roots,
                                                 const QList<QSharedPointer<Endpoint>>& endpoints)
{
    const QString scheme = url.scheme();
    if (scheme == QLatin1String("file"))
        return itemFromLocalUrl(url, roots);
    if (scheme == QLatin1String("http") || scheme == QLatin1String("https"))
        return itemFromWSUrl(url, roots, endpoints);
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

QSharedPointer<AbstractItem> Driver::itemFromWSUrl(
    const QUrl& url, const QList<QSharedPointer<AbstractFolder>>& roots,
    const QList<QSharedPointer<Endpoint>>& endpoints)
{
    if (!url.isValid())
        return QSharedPointer<AbstractItem>();
    // The path stays encoded on purpose: a root typed with a blank keeps it
    // percent-encoded in its key.
    const QString path = url.path(QUrl::FullyEncoded);
    const bool isFolder = path.endsWith(QLatin1Char('/'));
    const WSLocation location = WSLocation::locate(url.host(), path, endpoints);

    const BrindleLib::Protocol protocol = url.scheme() == QLatin1String("https")
                                              ? BrindleLib::ProtocolHttps
                                              : BrindleLib::ProtocolHttp;
    QUrl reference = bucketAddress(makeUrl(location.bucket, protocol, location.endpoint),
                                   url.scheme());
    if (url.port() != -1 && url.port() != 80 && url.port() != 443)
        reference.setPort(url.port());

    // One of the account's own buckets, or one that it may reach all the same.
    QSharedPointer<AbstractS3Folder> bucket;
    QSharedPointer<AbstractAccount> firstAccount;
    for (const QSharedPointer<AbstractFolder>& root : roots) {
        if (!root || root->fileSystemClass() != AbstractFS::CloudClass)
            continue;
        const QSharedPointer<AbstractS3Folder> candidate = root.staticCast<AbstractS3Folder>();
        if (!firstAccount)
            firstAccount = candidate->account();
        // Path-style buckets of one endpoint share an address: the name decides.
        if (candidate->bucketName() == location.bucket
            && bucketAddress(candidate->urlWithoutCName(), url.scheme()) == reference) {
            bucket = candidate;
            break;
        }
    }
    if (!bucket && firstAccount)
        bucket = createBucketItem(location.bucket, QDateTime(), firstAccount);
    if (!bucket)
        return QSharedPointer<AbstractItem>();

    const QString& key = location.key;
    if (key.isEmpty() || key == QLatin1String("/"))
        return bucket;
    // A folder is made in one step below the bucket, whatever its depth.
    if (isFolder)
        return createChildFolder(bucket, key.chopped(1));

    const qsizetype slash = key.lastIndexOf(QLatin1Char('/'));
    QSharedPointer<AbstractS3Folder> parent = bucket;
    if (slash >= 0)
        parent = createChildFolder(bucket, key.left(slash));
    const QSharedPointer<AbstractCloudFile> file = createChildFile(parent, key.mid(slash + 1));
    const QUrlQuery query(url);
    if (file && query.hasQueryItem(QStringLiteral("versionId"))) {
        file->setVersionId(
            query.queryItemValue(QStringLiteral("versionId"), QUrl::FullyDecoded).toUtf8());
        file->setLatest(false);
    }
    return file;
}
