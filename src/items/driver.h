#ifndef DRIVER_H
#define DRIVER_H

#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <QStringList>
#include <QString>
#include <QUrl>

#include "items/abstractaccount.h"
#include "items/abstractfolder.h"
#include "items/abstractuser.h"
#include "items/userkey.h"
#include "util/singleton.h"

#include "crypto/storagedirective.h"

class AbstractBucket;
class AbstractCloudFile;
class AbstractFile;
class AbstractLocalContainer;
class AbstractS3Folder;
class AbstractWSFolder;
class LocalFile;
class LocalFolder;

// The one place that knows the concrete classes: it makes accounts, endpoints
// and items, and resolves the paths a user types into items. Everything that
// holds no state is static; Singleton<Driver>::instance() reaches the rest.
class Driver : public Singleton<Driver>
{
public:
    // "/" here: the separator of local paths.
    static QChar localDelimiter();

    // Providers and accounts.
    // A new account of the provider's class with that id; null for an
    // unknown provider.
    static QSharedPointer<AbstractAccount> createAccount(AbstractAccount::Provider provider,
                                                         const Id& id);
    static QString providerToString(AbstractAccount::Provider provider);
    // An unknown text is an S3-compatible store.
    static AbstractAccount::Provider providerFromString(const QString& text);
    static AbstractFS::FileSystemType fileSystemFromProvider(AbstractAccount::Provider provider);
    // The provider whose default host is host, or of which host is a
    // sub-domain (a bucket host); any other host is an S3-compatible store.
    static AbstractAccount::Provider providerFromDomain(const QString& host);
    static QSharedPointer<Endpoint> createEndpoint(const QString& host,
                                                   AbstractFS::FileSystemType type);
    // Amazon's default endpoint, then Google's.
    static QList<QSharedPointer<Endpoint>> standardEndpoints();
    // Makes the standing users of an account, once before a run: the two
    // groups of everybody and, for Google, the project's users and groups
    // and the anonymous user.
    void createAccountUsers(const QSharedPointer<AbstractAccount>& account);

    // Users. One object per key for the whole run, so that users compare by
    // pointer; nothing is ever removed.
    // The user registered under key; null when there is none.
    static QSharedPointer<AbstractUser> user(const UserKey& key);
    // The user of account's domain with that type and id: the registered one,
    // else a new S3 or Google user by the account's fileSystemType(), which is
    // registered. Null for an account of neither family.
    static QSharedPointer<AbstractUser> createUser(const QSharedPointer<AbstractAccount>& account,
                                                   AbstractUser::UserType type,
                                                   const QByteArray& id);
    // The group of everybody, and that of every signed-in user, on the
    // account's domain: the registered one, else a new one.
    static QSharedPointer<AbstractUser> allUsersGroupByDomain(const QSharedPointer<AbstractAccount>& account);
    static QSharedPointer<AbstractUser> allAuthenticatedUsersGroupByDomain(
        const QSharedPointer<AbstractAccount>& account);
    // The owner of the account's buckets, as the service list gave it.
    static QSharedPointer<AbstractUser> accountOwner(const QSharedPointer<AbstractAccount>& account);
    // Keeps user as the owner of its own account.
    static void setAccountOwner(const QSharedPointer<AbstractUser>& user);

    // Items. The cloud ones are of the S3 or the Google family by the
    // fileSystemType() of the account or parent; any other gives null. The
    // overloads of createChildFolder and createChildFile differ in the
    // parent's declared type: pass exactly one of them (a QSharedPointer to a
    // subclass would match several).
    static QSharedPointer<AbstractBucket> createBucketItem(
        const QString& name, const QDateTime& creationDate,
        const QSharedPointer<AbstractAccount>& account);
    // A folder from a listing, its key as the store gave it.
    static QSharedPointer<AbstractWSFolder> createFolder(
        const QString& key, const QSharedPointer<AbstractS3Folder>& parent,
        const QByteArray& versionId, bool commonPrefix);
    // A file from a listing. Its date is turned into local time, so that it
    // compares with the times of local files.
    static QSharedPointer<AbstractCloudFile> createFile(
        const QString& key, qint64 size, const QDateTime& lastModified, const QByteArray& md5,
        const QSharedPointer<AbstractS3Folder>& parent, bool latest, const QByteArray& versionId,
        const QSharedPointer<AbstractUser>& owner, StorageDirective::StorageClass storageClass);
    static QSharedPointer<AbstractWSFolder> createChildFolder(
        const QSharedPointer<AbstractS3Folder>& parent, const QString& name);
    static QSharedPointer<AbstractCloudFile> createChildFile(
        const QSharedPointer<AbstractS3Folder>& parent, const QString& name);
    static QSharedPointer<LocalFolder> createChildFolder(
        const QSharedPointer<AbstractLocalContainer>& parent, const QString& name);
    static QSharedPointer<LocalFile> createChildFile(
        const QSharedPointer<AbstractLocalContainer>& parent, const QString& name);
    // Local or cloud, by the parent's fileSystemClass().
    static QSharedPointer<AbstractFolder> createChildFolder(
        const QSharedPointer<AbstractFolder>& parent, const QString& name);
    static QSharedPointer<AbstractFile> createChildFile(
        const QSharedPointer<AbstractFolder>& parent, const QString& name);

    // Paths and URLs.
    // Trims the text and gives it its final separator, "/" for a cloud path
    // and localDelimiter() for a local one, so that a sync root is always a
    // folder path. An empty text stays empty.
    static QString normalizeFolder(const QString& path);
    // The URL of a path as a user types it. "s3://" and "gs://" paths become
    // http URLs on endpoint (the provider's default host when it is empty),
    // the bucket in the host when its name allows, else in the path; a port
    // written after the bucket replaces port, and a port of 0 stays out.
    // "http://" and "https://" are taken as they are; anything else is a
    // local path.
    static QUrl urlFromDisplayPath(const QString& path, const QString& endpoint, int port);
    // True when the path names a folder of this machine, false for a store
    // path and for an empty text; decided by the same rule as the URL above.
    static bool isLocalDisplayPath(const QString& path);
    // The port written after the bucket of an "s3://" or "gs://" path, as in
    // "s3://bucket:8080/x"; 0 when there is none.
    static int portFromDisplayPath(const QString& path);
    // The port that an account should use explicitly: the first port written
    // in one of the paths, else optionPort ("--port", 0 when not given).
    static int explicitPort(int optionPort, const QStringList& displayPaths);
    // The address of a bucket: bucket.host when the name allows, else the
    // bucket as first path segment on the endpoint's host.
    static QUrl makeUrl(const QString& bucket, BrindleLib::Protocol protocol,
                        const QSharedPointer<Endpoint>& endpoint);
    // The item that url names below roots: a "file" URL through
    // itemFromLocalUrl, "http" and "https" through itemFromWSUrl; null for
    // any other scheme.
    static QSharedPointer<AbstractItem> itemFromUrl(
        const QUrl& url, const QList<QSharedPointer<AbstractFolder>>& roots,
        const QList<QSharedPointer<Endpoint>>& endpoints);
    // The local item of an existing path, built down from the root drive
    // among roots; null when the path does not exist or no root is "/".
    static QSharedPointer<AbstractItem> itemFromLocalUrl(
        const QUrl& url, const QList<QSharedPointer<AbstractFolder>>& roots);

    // The bucket, folder or file of an http(s) URL. The bucket is found by the
    // endpoint the host belongs to (or else the host's first label) and is
    // one of the cloud roots, or a new bucket item of the first cloud root's
    // account. The key is taken from the encoded path as it stands, and a
    // "versionId" query makes the file an older version.
    static QSharedPointer<AbstractItem> itemFromWSUrl(
        const QUrl& url, const QList<QSharedPointer<AbstractFolder>>& roots,
        const QList<QSharedPointer<Endpoint>>& endpoints);

private:
    friend class Singleton<Driver>;
    Driver() = default;

    mutable FastMutex m_mutex;
    const QChar m_localDelimiter = QLatin1Char('/');
    static QSharedPointer<AbstractUser> groupByDomain(const QSharedPointer<AbstractAccount>& account,
                                                      AbstractUser::UserType type);
    static QSharedPointer<AbstractUser> createAllUsersGroup(const QSharedPointer<AbstractAccount>& account);
    static QSharedPointer<AbstractUser> createAllAuthenticatedUsersGroup(
        const QSharedPointer<AbstractAccount>& account);
    static QSharedPointer<AbstractUser> createNamedUser(const QSharedPointer<AbstractAccount>& account,
                                                       AbstractUser::UserType type, const QByteArray& id,
                                                       const QString& displayName);

    QHash<UserKey, QSharedPointer<AbstractUser>> m_users;
    // The groups of everybody, by domain and type.
    QHash<QPair<QString, int>, QSharedPointer<AbstractUser>> m_domainGroups;
    QHash<QSharedPointer<AbstractAccount>, QSharedPointer<AbstractUser>> m_accountOwners;
};

#endif
