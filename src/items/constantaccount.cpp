#include "items/constantaccount.h"

ConstantAccount::ConstantAccount()
{
    applyStandards();
}

QUrl ConstantAccount::webSite() const
{
    return QUrl(QStringLiteral("https://www.constant.com/cloud/storage/"));
}

QString ConstantAccount::defaultHost()
{
    return QStringLiteral("s3.constant.com");
}

QSharedPointer<Endpoint> ConstantAccount::standardEndpoint() const
{
    return QSharedPointer<S3Endpoint>::create(defaultHost());
}

BucketLocations ConstantAccount::standardLocations() const
{
    return BucketLocations();
}
