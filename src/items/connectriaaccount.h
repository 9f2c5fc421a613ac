#ifndef CONNECTRIAACCOUNT_H
#define CONNECTRIAACCOUNT_H

#include "items/amazons3account.h"

// Connectria Cloud Storage.
class ConnectriaAccount : public AmazonS3Account
{
public:
    ConnectriaAccount();

    QUrl webSite() const override;
    Provider provider() const override { return ConnectriaProvider; }
    QSharedPointer<Endpoint> standardEndpoint() const override;
    Features standardFeatures() const override;
    BucketLocations standardLocations() const override;

    static QString defaultHost();
};

#endif
