#include "items/niftyaccount.h"

NiftyAccount::NiftyAccount()
{
    applyStandards();
}

QUrl NiftyAccount::webSite() const
{
    return QUrl(QStringLiteral("http://cloud.nifty.com/"));
}

QString NiftyAccount::defaultHost()
{
    return QStringLiteral("ncss.nifty.com");
}

QSharedPointer<Endpoint> NiftyAccount::standardEndpoint() const
{
    return QSharedPointer<S3Endpoint>::create(defaultHost());
}

AbstractAccount::Features NiftyAccount::standardFeatures() const
{
    return Features::fromInt(1223);
}

BucketLocations NiftyAccount::standardLocations() const
{
    BucketLocations locations;
    const BucketRegion japan(QStringLiteral("Japan"), "ap-japan-1a");
    locations.addRegion(japan);
    locations.setDefaultRegion(japan);
    return locations;
}

QByteArray NiftyAccount::authPrefix() const
{
    return QByteArrayLiteral("NIFTY");
}

const HeaderWords& NiftyAccount::headerWords() const
{
    static const HeaderWords words = HeaderWords::withPrefix("x-nifty-");
    return words;
}
