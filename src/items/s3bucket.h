#ifndef S3BUCKET_H
#define S3BUCKET_H

#include "items/abstractbucket.h"

class AmazonS3Account;

class S3Bucket : public AbstractBucket
{
public:
    S3Bucket(QChar delimiter, const QString& name, const QDateTime& creationDate,
             const QSharedPointer<AmazonS3Account>& account);
    S3Bucket(const S3Bucket& other) = default;

    FileSystemType fileSystemType() const override { return S3FileSystem; }
    QSharedPointer<AbstractItem> clone() const override;
};

#endif
