#include "items/s3bucket.h"

#include "items/amazons3account.h"

S3Bucket::S3Bucket(QChar delimiter, const QString& name, const QDateTime& creationDate,
                   const QSharedPointer<AmazonS3Account>& account)
    : AbstractBucket(delimiter, name, creationDate, account)
{
}

QSharedPointer<AbstractItem> S3Bucket::clone() const
{
    return QSharedPointer<S3Bucket>::create(*this);
}
