#include "items/amazons3account.h"

AmazonS3Account::AmazonS3Account()
{
    applyStandards();
}

AmazonS3Account::AmazonS3Account(const AmazonS3Account& other) : AbstractAccount(other)
{
}

QUrl AmazonS3Account::url() const
{
    return internalUrl(QStringLiteral("internal_s3_account"));
}

QSharedPointer<AbstractItem> AmazonS3Account::clone() const
{
    return QSharedPointer<AmazonS3Account>::create(*this);
}

QUrl AmazonS3Account::webSite() const
{
    return QUrl(QStringLiteral("https://aws.amazon.com/s3/"));
}

QString AmazonS3Account::defaultHost()
{
    return QStringLiteral("s3.amazonaws.com");
}

QSharedPointer<Endpoint> AmazonS3Account::defaultEndpoint()
{
    static const QSharedPointer<Endpoint> _standardEndPoint =
        QSharedPointer<S3Endpoint>::create(defaultHost());
    return _standardEndPoint;
}

QSharedPointer<Endpoint> AmazonS3Account::standardEndpoint() const
{
    return defaultEndpoint();
}

AbstractAccount::Features AmazonS3Account::standardFeatures() const
{
    return Features::fromInt(3823);
}

BucketLocations AmazonS3Account::standardLocations() const
{
    BucketLocations locations;
    const BucketRegion standard(QStringLiteral("US Standard"), QByteArray());
    locations.addRegion(standard);
    locations.setDefaultRegion(standard);
    locations.addRegion(BucketRegion(QStringLiteral("US West - Northern California"), "us-west-1"));
    locations.addRegion(BucketRegion(QStringLiteral("US West - Oregon"), "us-west-2"));
    locations.addRegion(BucketRegion(QStringLiteral("Europe - Ireland"), "EU"));
    locations.addRegion(BucketRegion(QStringLiteral("Asia Pacific - Singapore"), "ap-southeast-1"));
    locations.addRegion(BucketRegion(QStringLiteral("Asia Pacific - Tokyo"), "ap-northeast-1"));
    locations.addRegion(BucketRegion(QStringLiteral("South America - Sao Paulo"), "sa-east-1"));
    return locations;
}

int AmazonS3Account::defaultPort(BrindleLib::Protocol protocol) const
{
    return standardPort(protocol);
}

QByteArray AmazonS3Account::simplifiedScheme() const
{
    return QByteArrayLiteral("s3");
}

QByteArray AmazonS3Account::authPrefix() const
{
    return QByteArrayLiteral("AWS");
}

QByteArray AmazonS3Account::xMetaBrindleboxETag2() const
{
    return headerWords().metaETag2;
}

const HeaderWords& AmazonS3Account::headerWords() const
{
    static const HeaderWords words = HeaderWords::withPrefix("x-amz-");
    return words;
}
