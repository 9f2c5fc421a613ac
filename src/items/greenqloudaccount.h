#ifndef GREENQLOUDACCOUNT_H
#define GREENQLOUDACCOUNT_H

#include "items/amazons3account.h"

// GreenQloud's StorageQloud.
class GreenQloudAccount : public AmazonS3Account
{
public:
    GreenQloudAccount();

    QUrl webSite() const override;
    Provider provider() const override { return GreenQloudProvider; }
    QSharedPointer<Endpoint> standardEndpoint() const override;
    Features standardFeatures() const override;
    BucketLocations standardLocations() const override;

    static QString defaultHost();
};

#endif
