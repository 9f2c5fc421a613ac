#ifndef NIFTYACCOUNT_H
#define NIFTYACCOUNT_H

#include "items/cloudianaccount.h"

// NIFTY Cloud Storage: a Cloudian store with its own header words and signature prefix.
class NiftyAccount : public CloudianAccount
{
public:
    NiftyAccount();

    QUrl webSite() const override;
    Provider provider() const override { return NiftyProvider; }
    QSharedPointer<Endpoint> standardEndpoint() const override;
    Features standardFeatures() const override;
    BucketLocations standardLocations() const override;
    QByteArray authPrefix() const override;

    static QString defaultHost();

protected:
    const HeaderWords& headerWords() const override;
};

#endif
