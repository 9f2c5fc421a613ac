#include "items/greenqloudaccount.h"

GreenQloudAccount::GreenQloudAccount()
{
    applyStandards();
}

QUrl GreenQloudAccount::webSite() const
{
    return QUrl(QStringLiteral("https://www.greenqloud.com/"));
}

QString GreenQloudAccount::defaultHost()
{
    return QStringLiteral("s.greenqloud.com");
}

QSharedPointer<Endpoint> GreenQloudAccount::standardEndpoint() const
{
    return QSharedPointer<S3Endpoint>::create(defaultHost());
}

AbstractAccount::Features GreenQloudAccount::standardFeatures() const
{
    return Features::fromInt(1217);
}

BucketLocations GreenQloudAccount::standardLocations() const
{
    return BucketLocations();
}
