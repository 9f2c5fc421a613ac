#ifndef ABSTRACTBUCKET_H
#define ABSTRACTBUCKET_H

#include <QDateTime>

#include "items/abstracts3folder.h"

// A bucket: the root folder of a store's tree. Its path is empty.
class AbstractBucket : public AbstractS3Folder
{
public:
    ItemType itemType() const override { return BucketItem; }
    bool isReadOnly() const override { return false; }
    bool isRootItem() const override { return true; }
    bool isSelectable() const override { return true; }
    bool isDeletable() const override { return true; }
    bool isCopyableToClipboard() const override { return false; }
    bool isCopyable() const override { return false; }
    bool isMovable() const override { return false; }
    bool isEditable() const override { return false; }

    // Cached on first use, with the account's protocol and the CNAME.
    QUrl url() const override;
    QUrl url(BrindleLib::Protocol protocol, bool useCName) const;
    QUrl urlWithoutCName() const override;
    QString displayName() const override { return bucketName(); }
    // "s3://bucket/" on a well-known store, the request URL elsewhere.
    QString displayPath() const override;
    QString path() const override { return QString(); }
    QString name() const override { return bucketName(); }
    QSharedPointer<AbstractFolder> rootItem() const override;

    QString bucketName() const override;
    QSharedPointer<AbstractAccount> account() const override;
    BrindleLib::VersioningState versioningState() const override;

    void setVersioningState(BrindleLib::VersioningState state);
    QDateTime creationDate() const;
    bool isExternalBucket() const;
    void setExternalBucket(bool external);
    QString lastCName() const;
    void setLastCName(const QString& name);

protected:
    AbstractBucket(QChar delimiter, const QString& name, const QDateTime& creationDate,
                   const QSharedPointer<AbstractAccount>& account);
    AbstractBucket(const AbstractBucket& other);

private:
    const QString m_bucketName;
    const QSharedPointer<AbstractAccount> m_account;
    const QDateTime m_creationDate;
    BrindleLib::VersioningState m_versioningState = BrindleLib::VersioningUnset;
    bool m_externalBucket = false;
    mutable QUrl m_url;
    QString m_lastCName;
};

#endif
