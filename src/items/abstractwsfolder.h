#ifndef ABSTRACTWSFOLDER_H
#define ABSTRACTWSFOLDER_H

#include <QByteArray>
#include <QList>
#include <QStringView>

#include "items/abstracts3folder.h"
#include "items/deletemarker.h"

// A folder in a bucket: a key that ends in the delimiter, or a common prefix
// of a listing. Its key holds the whole path below the bucket.
class AbstractWSFolder : public AbstractS3Folder
{
public:
    ItemType itemType() const override { return CloudFolderItem; }
    bool isReadOnly() const override { return false; }
    bool isRootItem() const override { return false; }
    bool isSelectable() const override { return true; }
    bool isDeletable() const override { return true; }
    bool isCopyableToClipboard() const override { return true; }
    bool isCopyable() const override { return true; }
    bool isMovable() const override { return true; }
    bool isEditable() const override { return isLatest(); }

    QUrl url() const override;
    QUrl url(BrindleLib::Protocol protocol, bool useCName) const;
    QUrl urlWithoutCName() const override;
    QString displayName() const override { return name(); }
    QString displayPath() const override;
    QString path() const override;
    QString name() const override { return nameRef().toString(); }
    QSharedPointer<AbstractFolder> rootItem() const override;

    QString bucketName() const override;
    QSharedPointer<AbstractAccount> account() const override;
    BrindleLib::VersioningState versioningState() const override;
    // The folder's own owner, or its parent's when it has none.
    QSharedPointer<AbstractUser> owner() const override;
    // The last component of the key, without the trailing delimiter; a view
    // into the key, valid as long as the item lives.
    virtual QStringView nameRef() const;

    QSharedPointer<AbstractS3Folder> parent() const;
    bool isCommonPrefix() const;
    bool isLatest() const;
    void setLatest(bool latest);
    bool exists() const;
    void setExistsFlag(bool exists);
    QByteArray versionId() const;
    void setVersionId(const QByteArray& versionId);
    QList<QByteArray> versionsIdList() const;
    void setVersionsId(const QList<QByteArray>& ids);
    void addToVersionIdList(const QByteArray& id);
    QList<DeleteMarker> deleteMarkerList() const;
    void addToDeleteMarkerList(const DeleteMarker& marker);

protected:
    // The child called name of parent: key is the parent's path, name and
    // the delimiter.
    AbstractWSFolder(const QSharedPointer<AbstractS3Folder>& parent, const QString& name);
    // From a listing: the key as the store gave it.
    AbstractWSFolder(const QString& key, const QSharedPointer<AbstractS3Folder>& parent,
                     const QByteArray& versionId, bool commonPrefix);
    AbstractWSFolder(const AbstractWSFolder& other);

private:
    const QSharedPointer<AbstractS3Folder> m_parent;
    const QString m_key;
    bool m_commonPrefix;
    bool m_latest = true;
    bool m_exists = false;
    QByteArray m_versionId;
    QList<QByteArray> m_versionsIdList;
    QList<DeleteMarker> m_deleteMarkerList;
    mutable QUrl m_url;
};

#endif
