#ifndef S3FOLDER_H
#define S3FOLDER_H

#include "items/abstractwsfolder.h"

class S3Folder : public AbstractWSFolder
{
public:
    S3Folder(const QSharedPointer<AbstractS3Folder>& parent, const QString& name)
        : AbstractWSFolder(parent, name) {}
    S3Folder(const QString& key, const QSharedPointer<AbstractS3Folder>& parent,
             const QByteArray& versionId, bool commonPrefix)
        : AbstractWSFolder(key, parent, versionId, commonPrefix) {}
    S3Folder(const S3Folder& other) = default;

    FileSystemType fileSystemType() const override { return S3FileSystem; }
    QSharedPointer<AbstractItem> clone() const override
    {
        return QSharedPointer<S3Folder>::create(*this);
    }
};

#endif
