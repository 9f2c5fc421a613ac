#ifndef GSBUCKET_H
#define GSBUCKET_H

#include "items/abstractbucket.h"

class GoogleStorageAccount;

class GSBucket : public AbstractBucket
{
public:
    GSBucket(QChar delimiter, const QString& name, const QDateTime& creationDate,
             const QSharedPointer<GoogleStorageAccount>& account);
    GSBucket(const GSBucket& other) = default;

    FileSystemType fileSystemType() const override { return GSFileSystem; }
    QSharedPointer<AbstractItem> clone() const override;
};

#endif
