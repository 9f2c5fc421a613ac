#ifndef CONSTANTACCOUNT_H
#define CONSTANTACCOUNT_H

#include "items/cloudianaccount.h"

// Constant's cloud storage, a Cloudian store under another name.
class ConstantAccount : public CloudianAccount
{
public:
    ConstantAccount();

    QUrl webSite() const override;
    Provider provider() const override { return ConstantProvider; }
    QSharedPointer<Endpoint> standardEndpoint() const override;
    BucketLocations standardLocations() const override;

    static QString defaultHost();
};

#endif
