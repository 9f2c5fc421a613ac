#ifndef OTHERS3ACCOUNT_H
#define OTHERS3ACCOUNT_H

#include "items/amazons3account.h"

// Any other S3-compatible store. Its default host is a placeholder that the endpoint given on the command line replaces.
class OtherS3Account : public AmazonS3Account
{
public:
    OtherS3Account();

    QUrl webSite() const override { return QUrl(); }
    Provider provider() const override { return OtherS3Provider; }
    QSharedPointer<Endpoint> standardEndpoint() const override;
    Features standardFeatures() const override;
    BucketLocations standardLocations() const override;

    static QString defaultHost();
};

#endif
