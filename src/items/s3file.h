#ifndef S3FILE_H
#define S3FILE_H

#include "items/abstractcloudfile.h"

class S3File : public AbstractCloudFile
{
public:
    S3File(const QSharedPointer<AbstractS3Folder>& parent, const QString& name)
        : AbstractCloudFile(parent, name) {}
    S3File(const QString& key, qint64 size, const QDateTime& lastModified,
           const QByteArray& md5sum, const QSharedPointer<AbstractS3Folder>& parent, bool latest,
           const QByteArray& versionId, const QSharedPointer<AbstractUser>& owner,
           StorageDirective::StorageClass storageClass)
        : AbstractCloudFile(key, size, lastModified, md5sum, parent, latest, versionId, owner,
                            storageClass) {}
    S3File(const S3File& other) = default;

    FileSystemType fileSystemType() const override { return S3FileSystem; }
    QSharedPointer<AbstractItem> clone() const override
    {
        return QSharedPointer<S3File>::create(*this);
    }
};

#endif
