#include "items/abstractcloudfile.h"

#include "items/abstractaccount.h"
#include "items/requesturl.h"

AbstractCloudFile::AbstractCloudFile(const QSharedPointer<AbstractS3Folder>& parent,
                                     const QString& name)
    : AbstractFile(parent), m_key(parent->path() + name), m_owner(parent->owner())
{
}

AbstractCloudFile::AbstractCloudFile(const QString& key, qint64 size,
                                     const QDateTime& lastModified, const QByteArray& md5sum,
                                     const QSharedPointer<AbstractS3Folder>& parent, bool latest,
                                     const QByteArray& versionId,
                                     const QSharedPointer<AbstractUser>& owner,
                                     StorageDirective::StorageClass storageClass)
    : AbstractFile(parent), m_key(key), m_size(size), m_md5sum(md5sum), m_latest(latest),
      m_storageClass(storageClass), m_lastModified(lastModified), m_versionId(versionId),
      m_owner(owner)
{
}

AbstractCloudFile::AbstractCloudFile(const AbstractCloudFile& other)
    : AbstractFile(other), m_key(other.m_key)
{
    FastMutexLocker locker(other.m_mutex);
    m_size = other.m_size;
    m_md5sum = other.m_md5sum;
    m_latest = other.m_latest;
    m_storageClass = other.m_storageClass;
    m_lastModified = other.m_lastModified;
    m_versionId = other.m_versionId;
    m_owner = other.m_owner;
    m_deleteMarker = other.m_deleteMarker;
    m_url = other.m_url;
}

bool AbstractCloudFile::isEditable() const
{
    return isLatest() && !hasDeleteMarker();
}

bool AbstractCloudFile::canBeRestored() const
{
    return !isLatest() && !hasDeleteMarker();
}

QUrl AbstractCloudFile::url() const
{
    return lockedCache(m_mutex, m_url, [this] { return url(account()->protocol()); });
}

QUrl AbstractCloudFile::url(BrindleLib::Protocol protocol) const
{
    const QSharedPointer<AbstractS3Folder> parent = folder();
    return RequestUrl::build(parent->account(), protocol, parent->bucketName(), m_key, true,
                             isAddressedByVersion(), versionId());
}

QString AbstractCloudFile::displayPath() const
{
    QString shown = folder()->displayPath() + name();
    if (isAddressedByVersion())
        shown += QStringLiteral("?versionId=") + QString::fromUtf8(versionId());
    return shown;
}

QString AbstractCloudFile::path() const
{
    return m_key;
}

QDateTime AbstractCloudFile::lastModified() const { return lockedRead(m_mutex, m_lastModified); }
qint64 AbstractCloudFile::size() const { return lockedRead(m_mutex, m_size); }

QStringView AbstractCloudFile::nameRef() const
{
    const QStringView key(m_key);
    return key.mid(key.lastIndexOf(folder()->delimiter()) + 1);
}

QSharedPointer<AbstractFolder> AbstractCloudFile::rootItem() const
{
    const QSharedPointer<AbstractFolder> parentFolder = parent();
    if (parentFolder->itemType() == BucketItem)
        return parentFolder;
    return parentFolder->rootItem();
}

QSharedPointer<AbstractS3Folder> AbstractCloudFile::folder() const
{
    // A cloud file is only ever made below a bucket or a cloud folder.
    return parent().staticCast<AbstractS3Folder>();
}

QSharedPointer<AbstractAccount> AbstractCloudFile::account() const
{
    return folder()->account();
}

void AbstractCloudFile::setSize(qint64 size) { lockedWrite(m_mutex, m_size, size); }
QByteArray AbstractCloudFile::md5sum() const { return lockedRead(m_mutex, m_md5sum); }
void AbstractCloudFile::setMd5Sum(const QByteArray& md5sum) { lockedWrite(m_mutex, m_md5sum, md5sum); }
void AbstractCloudFile::setLastModified(const QDateTime& lastModified) { lockedWrite(m_mutex, m_lastModified, lastModified); }
bool AbstractCloudFile::isLatest() const { return lockedRead(m_mutex, m_latest); }

void AbstractCloudFile::setLatest(bool latest)
{
    FastMutexLocker locker(m_mutex);
    m_latest = latest;
    m_url.clear();
}

StorageDirective::StorageClass AbstractCloudFile::storageClass() const { return lockedRead(m_mutex, m_storageClass); }
void AbstractCloudFile::setStorageClass(StorageDirective::StorageClass storageClass) { lockedWrite(m_mutex, m_storageClass, storageClass); }
QByteArray AbstractCloudFile::versionId() const { return lockedRead(m_mutex, m_versionId); }

void AbstractCloudFile::setVersionId(const QByteArray& versionId)
{
    FastMutexLocker locker(m_mutex);
    m_versionId = versionId;
    m_url.clear();
}

QSharedPointer<AbstractUser> AbstractCloudFile::owner() const { return lockedRead(m_mutex, m_owner); }
void AbstractCloudFile::setOwner(const QSharedPointer<AbstractUser>& owner) { lockedWrite(m_mutex, m_owner, owner); }
DeleteMarker AbstractCloudFile::deleteMarker() const { return lockedRead(m_mutex, m_deleteMarker); }

void AbstractCloudFile::setDeleteMarker(const DeleteMarker& marker)
{
    FastMutexLocker locker(m_mutex);
    m_deleteMarker = marker;
    m_url.clear();
}

bool AbstractCloudFile::hasDeleteMarker() const
{
    FastMutexLocker locker(m_mutex);
    return !m_deleteMarker.isNull();
}

bool AbstractCloudFile::isAddressedByVersion() const
{
    FastMutexLocker locker(m_mutex);
    return !m_latest || !m_deleteMarker.isNull();
}
