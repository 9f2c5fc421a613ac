#include "items/abstractwsfolder.h"

#include "items/abstractaccount.h"
#include "items/requesturl.h"
#include "items/url.h"

AbstractWSFolder::AbstractWSFolder(const QSharedPointer<AbstractS3Folder>& parent,
                                   const QString& name)
    : AbstractS3Folder(parent->delimiter()), m_parent(parent),
      m_key(parent->path() + name + parent->delimiter()), m_commonPrefix(false)
{
}

AbstractWSFolder::AbstractWSFolder(const QString& key,
                                   const QSharedPointer<AbstractS3Folder>& parent,
                                   const QByteArray& versionId, bool commonPrefix)
    : AbstractS3Folder(parent->delimiter()), m_parent(parent), m_key(key),
      m_commonPrefix(commonPrefix), m_versionId(versionId)
{
}

AbstractWSFolder::AbstractWSFolder(const AbstractWSFolder& other)
    : AbstractS3Folder(other), m_parent(other.m_parent), m_key(other.m_key)
{
    FastMutexLocker locker(other.m_mutex);
    m_commonPrefix = other.m_commonPrefix;
    m_latest = other.m_latest;
    m_exists = other.m_exists;
    m_versionId = other.m_versionId;
    m_versionsIdList = other.m_versionsIdList;
    m_deleteMarkerList = other.m_deleteMarkerList;
    m_url = other.m_url;
}

QUrl AbstractWSFolder::url() const
{
    return lockedCache(m_mutex, m_url, [this] { return url(account()->protocol(), true); });
}

QUrl AbstractWSFolder::url(BrindleLib::Protocol protocol, bool useCName) const
{
    return RequestUrl::build(account(), protocol, bucketName(), m_key, useCName, !isLatest(),
                             versionId());
}

QUrl AbstractWSFolder::urlWithoutCName() const
{
    return url(account()->protocol(), false);
}

QString AbstractWSFolder::displayPath() const
{
    const QSharedPointer<AbstractAccount> owningAccount = account();
    const QUrl address = url();
    if (!RequestUrl::isWellKnown(owningAccount))
        return address.toString();
    const QString scheme = QString::fromLatin1(owningAccount->simplifiedScheme());
    const QString bucket = bucketName();
    const QString path = address.path();
    if (Url::isDnsCompatible(bucket))
        return scheme + QStringLiteral("://") + bucket + RequestUrl::portText(owningAccount) + path;
    // Path style: the path already begins with the bucket.
    const QString separator = path.startsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/");
    return scheme + QStringLiteral(":/") + separator + path;
}

QString AbstractWSFolder::path() const
{
    return m_key;
}

QStringView AbstractWSFolder::nameRef() const
{
    // The key ends in the delimiter: the name lies between the delimiter
    // before it and that last character.
    const QStringView key(m_key);
    if (key.isEmpty())
        return key;
    const qsizetype before = key.size() >= 2 ? key.lastIndexOf(delimiter(), key.size() - 2) : -1;
    return key.mid(before + 1, key.size() - 1 - (before + 1));
}

QSharedPointer<AbstractFolder> AbstractWSFolder::rootItem() const
{
    QSharedPointer<AbstractS3Folder> folder = m_parent;
    while (folder->itemType() != BucketItem)
        folder = folder.staticCast<AbstractWSFolder>()->parent();
    return folder;
}

QString AbstractWSFolder::bucketName() const
{
    return m_parent->bucketName();
}

QSharedPointer<AbstractAccount> AbstractWSFolder::account() const
{
    return m_parent->account();
}

BrindleLib::VersioningState AbstractWSFolder::versioningState() const
{
    return m_parent->versioningState();
}

QSharedPointer<AbstractUser> AbstractWSFolder::owner() const
{
    const QSharedPointer<AbstractUser> own = AbstractS3Folder::owner();
    return own ? own : m_parent->owner();
}

QSharedPointer<AbstractS3Folder> AbstractWSFolder::parent() const
{
    return m_parent;
}

bool AbstractWSFolder::isCommonPrefix() const { return lockedRead(m_mutex, m_commonPrefix); }
bool AbstractWSFolder::isLatest() const { return lockedRead(m_mutex, m_latest); }

void AbstractWSFolder::setLatest(bool latest)
{
    FastMutexLocker locker(m_mutex);
    m_latest = latest;
    m_url.clear();
}

bool AbstractWSFolder::exists() const { return lockedRead(m_mutex, m_exists); }
void AbstractWSFolder::setExistsFlag(bool exists) { lockedWrite(m_mutex, m_exists, exists); }
QByteArray AbstractWSFolder::versionId() const { return lockedRead(m_mutex, m_versionId); }

void AbstractWSFolder::setVersionId(const QByteArray& versionId)
{
    FastMutexLocker locker(m_mutex);
    m_versionId = versionId;
    m_url.clear();
}

QList<QByteArray> AbstractWSFolder::versionsIdList() const { return lockedRead(m_mutex, m_versionsIdList); }

void AbstractWSFolder::setVersionsId(const QList<QByteArray>& ids)
{
    FastMutexLocker locker(m_mutex);
    m_versionsIdList = ids;
    m_url.clear();
}

void AbstractWSFolder::addToVersionIdList(const QByteArray& id)
{
    FastMutexLocker locker(m_mutex);
    m_versionsIdList.append(id);
}

QList<DeleteMarker> AbstractWSFolder::deleteMarkerList() const { return lockedRead(m_mutex, m_deleteMarkerList); }

void AbstractWSFolder::addToDeleteMarkerList(const DeleteMarker& marker)
{
    FastMutexLocker locker(m_mutex);
    m_deleteMarkerList.append(marker);
}
