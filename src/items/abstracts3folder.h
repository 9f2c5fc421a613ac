#ifndef ABSTRACTS3FOLDER_H
#define ABSTRACTS3FOLDER_H

#include "items/abstractfolder.h"
#include "util/brindlelib.h"
#include "util/fastmutex.h"

class AbstractAccount;
class AbstractUser;

// A folder of a store: a bucket, or a key prefix below one.
class AbstractS3Folder : public AbstractFolder
{
public:
    FileSystemClass fileSystemClass() const override { return CloudClass; }

    virtual QString bucketName() const = 0;
    virtual QSharedPointer<AbstractAccount> account() const = 0;
    virtual BrindleLib::VersioningState versioningState() const = 0;
    // The request URL without a look at the bucket's CNAME; not cached.
    virtual QUrl urlWithoutCName() const = 0;
    virtual QSharedPointer<AbstractUser> owner() const;

    void setOwner(const QSharedPointer<AbstractUser>& owner);

protected:
    explicit AbstractS3Folder(QChar delimiter) : AbstractFolder(delimiter) {}
    AbstractS3Folder(const AbstractS3Folder& other);
    AbstractS3Folder& operator=(const AbstractS3Folder&) = delete;

    // Guards the fields of this folder and of its subclasses.
    mutable FastMutex m_mutex;

private:
    QSharedPointer<AbstractUser> m_owner;
};

#endif
