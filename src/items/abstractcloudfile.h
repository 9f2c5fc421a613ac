#ifndef ABSTRACTCLOUDFILE_H
#define ABSTRACTCLOUDFILE_H

#include "crypto/storagedirective.h"
#include "items/abstractfile.h"
#include "items/abstracts3folder.h"
#include "items/deletemarker.h"

// An object of a store, or one of its older versions, or a delete marker.
class AbstractCloudFile : public AbstractFile
{
public:
    FileSystemClass fileSystemClass() const override { return CloudClass; }
    ItemType itemType() const override { return CloudFileItem; }
    bool isDeletable() const override { return !hasDeleteMarker(); }
    bool isCopyableToClipboard() const override { return !hasDeleteMarker(); }
    bool isCopyable() const override { return !hasDeleteMarker(); }
    bool isMovable() const override { return !hasDeleteMarker(); }
    bool isEditable() const override;
    bool canBeRestored() const override;

    // Cached on first use, with the account's protocol; a file always looks
    // for the bucket's CNAME.
    QUrl url() const override;
    QUrl url(BrindleLib::Protocol protocol) const;
    QString displayName() const override { return name(); }
    // The folder's display path and the name, with "?versionId=" for an older
    // version or a delete marker.
    QString displayPath() const override;

    QString path() const override;
    QDateTime lastModified() const override;
    qint64 size() const override;
    QString name() const override { return nameRef().toString(); }
    QStringView nameRef() const override;
    QSharedPointer<AbstractFolder> rootItem() const override;

    QSharedPointer<AbstractS3Folder> folder() const;
    QSharedPointer<AbstractAccount> account() const;

    void setSize(qint64 size);
    // The ETag as raw bytes.
    QByteArray md5sum() const;
    void setMd5Sum(const QByteArray& md5sum);
    void setLastModified(const QDateTime& lastModified);
    bool isLatest() const;
    void setLatest(bool latest);
    StorageDirective::StorageClass storageClass() const;
    void setStorageClass(StorageDirective::StorageClass storageClass);
    QByteArray versionId() const;
    void setVersionId(const QByteArray& versionId);
    QSharedPointer<AbstractUser> owner() const;
    void setOwner(const QSharedPointer<AbstractUser>& owner);
    DeleteMarker deleteMarker() const;
    void setDeleteMarker(const DeleteMarker& marker);

protected:
    // The child called name of parent, with the parent's owner.
    AbstractCloudFile(const QSharedPointer<AbstractS3Folder>& parent, const QString& name);
    // From a listing.
    AbstractCloudFile(const QString& key, qint64 size, const QDateTime& lastModified,
                      const QByteArray& md5sum, const QSharedPointer<AbstractS3Folder>& parent,
                      bool latest, const QByteArray& versionId,
                      const QSharedPointer<AbstractUser>& owner,
                      StorageDirective::StorageClass storageClass);
    AbstractCloudFile(const AbstractCloudFile& other);

private:
    bool hasDeleteMarker() const;
    // An older version and a delete marker are addressed by their version.
    bool isAddressedByVersion() const;

    const QString m_key;
    qint64 m_size = -1;
    QByteArray m_md5sum;
    bool m_latest = true;
    StorageDirective::StorageClass m_storageClass = StorageDirective::StandardStorage;
    QDateTime m_lastModified;
    QByteArray m_versionId;
    QSharedPointer<AbstractUser> m_owner;
    DeleteMarker m_deleteMarker;
    mutable QUrl m_url;
};

#endif
