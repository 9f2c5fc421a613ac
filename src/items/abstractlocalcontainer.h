#ifndef ABSTRACTLOCALCONTAINER_H
#define ABSTRACTLOCALCONTAINER_H

#include "items/abstractfolder.h"

// A folder of the local file system: a drive or a folder below one.
class AbstractLocalContainer : public AbstractFolder
{
public:
    FileSystemType fileSystemType() const override { return LocalFileSystem; }
    FileSystemClass fileSystemClass() const override { return LocalClass; }
    bool acceptCopyFrom(const QSharedPointer<AbstractItem>& source) const override;
    virtual bool isVersionDeletable() const { return false; }

    // path + delimiter + name, with no second delimiter when path already ends with one.
    static QString concatPath(QChar delimiter, const QString& path, const QString& name);

protected:
    explicit AbstractLocalContainer(QChar delimiter) : AbstractFolder(delimiter) {}
};

#endif
