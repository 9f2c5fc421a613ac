#ifndef GSFILE_H
#define GSFILE_H

#include "items/abstractcloudfile.h"

class GSFile : public AbstractCloudFile
{
public:
    GSFile(const QSharedPointer<AbstractS3Folder>& parent, const QString& name)
        : AbstractCloudFile(parent, name) {}
    GSFile(const QString& key, qint64 size, const QDateTime& lastModified,
           const QByteArray& md5sum, const QSharedPointer<AbstractS3Folder>& parent, bool latest,
           const QByteArray& versionId, const QSharedPointer<AbstractUser>& owner,
           StorageDirective::StorageClass storageClass)
        : AbstractCloudFile(key, size, lastModified, md5sum, parent, latest, versionId, owner,
                            storageClass) {}
    GSFile(const GSFile& other) = default;

    FileSystemType fileSystemType() const override { return GSFileSystem; }
    QSharedPointer<AbstractItem> clone() const override
    {
        return QSharedPointer<GSFile>::create(*this);
    }
};

#endif
