#ifndef ABSTRACTFS_H
#define ABSTRACTFS_H

// Root of everything that belongs to a file system: items, and also the
// endpoints, users and ACLs of the cloud side, which are no items.
class AbstractFS
{
public:
    enum FileSystemType { LocalFileSystem = 1, S3FileSystem = 2, GSFileSystem = 3 };

    // The engine tells a local side from a cloud side by this value alone.
    enum FileSystemClass { LocalClass = 1, CloudClass = 2 };

    virtual ~AbstractFS() = default;
    virtual FileSystemType fileSystemType() const = 0;
    virtual FileSystemClass fileSystemClass() const = 0;
};

#endif
