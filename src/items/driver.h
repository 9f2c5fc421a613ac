#ifndef DRIVER_H
#define DRIVER_H

#include <QList>
#include <QSharedPointer>
#include <QStringList>
#include <QString>
#include <QUrl>

#include "items/abstractaccount.h"
#include "items/abstractfolder.h"
#include "util/singleton.h"

class AbstractLocalContainer;
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
    // Makes the standing users of an account. No user classes are built into
    // the tool yet, so an account has none: this records nothing.
    void createAccountUsers(const QSharedPointer<AbstractAccount>& account);

    // Local items.
    static QSharedPointer<LocalFolder> createChildFolder(
        const QSharedPointer<AbstractLocalContainer>& parent, const QString& name);
    static QSharedPointer<LocalFile> createChildFile(
        const QSharedPointer<AbstractLocalContainer>& parent, const QString& name);

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
    // The port written after the bucket of an "s3://" or "gs://" path, as in
    // "s3://bucket:8080/x"; 0 when there is none.
    static int portFromDisplayPath(const QString& path);
    // The port that an account should use explicitly: the first port written
    // in one of the paths, else optionPort ("--port", 0 when not given).
    static int explicitPort(int optionPort, const QStringList& displayPaths);
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

private:
    friend class Singleton<Driver>;
    Driver() = default;

    mutable FastMutex m_mutex;
    const QChar m_localDelimiter = QLatin1Char('/');
};

#endif
