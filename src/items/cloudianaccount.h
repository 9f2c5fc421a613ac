#ifndef CLOUDIANACCOUNT_H
#define CLOUDIANACCOUNT_H

#include "items/amazons3account.h"

// Cloudian HyperStore. A Cloudian store has no public default endpoint: the user always names one.
class CloudianAccount : public AmazonS3Account
{
public:
    CloudianAccount();

    QUrl webSite() const override;
    Provider provider() const override { return CloudianProvider; }
    QSharedPointer<Endpoint> standardEndpoint() const override;
    Features standardFeatures() const override;
    BucketLocations standardLocations() const override;

    // A host of the vendor, by which an endpoint is recognised as Cloudian's.
    static QString vendorHost();
};

#endif
