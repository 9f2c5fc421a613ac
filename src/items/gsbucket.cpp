#include "items/gsbucket.h"

#include "items/googlestorageaccount.h"

GSBucket::GSBucket(QChar delimiter, const QString& name, const QDateTime& creationDate,
                   const QSharedPointer<GoogleStorageAccount>& account)
    : AbstractBucket(delimiter, name, creationDate, account)
{
}

QSharedPointer<AbstractItem> GSBucket::clone() const
{
    return QSharedPointer<GSBucket>::create(*this);
}
