#include "items/others3account.h"

OtherS3Account::OtherS3Account()
{
    applyStandards();
    // The endpoint always comes from the command line for such a store.
    setEndpoint(QSharedPointer<Endpoint>());
}

QString OtherS3Account::defaultHost()
{
    return QStringLiteral("s3.example.com");
}

QSharedPointer<Endpoint> OtherS3Account::standardEndpoint() const
{
    return QSharedPointer<S3Endpoint>::create(defaultHost());
}

AbstractAccount::Features OtherS3Account::standardFeatures() const
{
    return Features::fromInt(1217);
}

BucketLocations OtherS3Account::standardLocations() const
{
    return BucketLocations();
}
