#include "items/cloudianaccount.h"

CloudianAccount::CloudianAccount()
{
    applyStandards();
}

QUrl CloudianAccount::webSite() const
{
    return QUrl(QStringLiteral("https://cloudian.com/"));
}

QString CloudianAccount::vendorHost()
{
    return QStringLiteral("s3.cloudian.com");
}

QSharedPointer<Endpoint> CloudianAccount::standardEndpoint() const
{
    return QSharedPointer<S3Endpoint>::create();
}

AbstractAccount::Features CloudianAccount::standardFeatures() const
{
    return Features::fromInt(1235);
}

BucketLocations CloudianAccount::standardLocations() const
{
    return BucketLocations();
}
