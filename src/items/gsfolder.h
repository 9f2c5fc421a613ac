#ifndef GSFOLDER_H
#define GSFOLDER_H

#include "items/abstractwsfolder.h"

class GSFolder : public AbstractWSFolder
{
public:
    GSFolder(const QSharedPointer<AbstractS3Folder>& parent, const QString& name)
        : AbstractWSFolder(parent, name) {}
    GSFolder(const QString& key, const QSharedPointer<AbstractS3Folder>& parent,
             const QByteArray& versionId, bool commonPrefix)
        : AbstractWSFolder(key, parent, versionId, commonPrefix) {}
    GSFolder(const GSFolder& other) = default;

    FileSystemType fileSystemType() const override { return GSFileSystem; }
    // An older version of a Google folder can't be copied.
    bool isCopyable() const override { return isLatest(); }
    QSharedPointer<AbstractItem> clone() const override
    {
        return QSharedPointer<GSFolder>::create(*this);
    }
};

#endif
