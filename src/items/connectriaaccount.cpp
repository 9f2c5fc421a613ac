#include "items/connectriaaccount.h"

ConnectriaAccount::ConnectriaAccount()
{
    applyStandards();
}

QUrl ConnectriaAccount::webSite() const
{
    return QUrl(QStringLiteral("https://www.connectria.com/"));
}

QString ConnectriaAccount::defaultHost()
{
    return QStringLiteral("s3.connectria.com");
}

QSharedPointer<Endpoint> ConnectriaAccount::standardEndpoint() const
{
    return QSharedPointer<S3Endpoint>::create(defaultHost());
}

AbstractAccount::Features ConnectriaAccount::standardFeatures() const
{
    return Features::fromInt(1217);
}

BucketLocations ConnectriaAccount::standardLocations() const
{
    return BucketLocations();
}
