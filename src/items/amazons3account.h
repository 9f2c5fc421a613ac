#ifndef AMAZONS3ACCOUNT_H
#define AMAZONS3ACCOUNT_H

#include "items/abstractaccount.h"

// Amazon S3, and the base of every store that speaks its dialect.
class AmazonS3Account : public AbstractAccount
{
public:
    AmazonS3Account();
    AmazonS3Account(const AmazonS3Account& other);

    FileSystemType fileSystemType() const override { return S3FileSystem; }
    QUrl url() const override;
    // A copy of the account data as an AmazonS3Account, whatever the subclass.
    QSharedPointer<AbstractItem> clone() const override;

    QUrl webSite() const override;
    Provider provider() const override { return AmazonS3Provider; }
    QSharedPointer<Endpoint> standardEndpoint() const override;
    Features standardFeatures() const override;
    BucketLocations standardLocations() const override;
    int defaultPort(BrindleLib::Protocol protocol) const override;
    QByteArray simplifiedScheme() const override;
    QByteArray authPrefix() const override;
    virtual QByteArray xMetaBrindleboxETag2() const;

    static QString defaultHost();
    // The one endpoint that every account of this class shares by default.
    static QSharedPointer<Endpoint> defaultEndpoint();

protected:
    const HeaderWords& headerWords() const override;
};

#endif
