#ifndef ABSTRACTACCOUNT_H
#define ABSTRACTACCOUNT_H

#include <QByteArray>
#include <QFlags>
#include <QHash>
#include <QSharedPointer>
#include <QString>

#include "items/abstractvirtualfolder.h"
#include "items/bucketlocations.h"
#include "items/endpoint.h"
#include "items/headerwords.h"
#include "items/id.h"
#include "util/brindlelib.h"
#include "util/fastmutex.h"

// One cloud store as the tool knows it: provider, credentials, protocol,
// endpoint. Whatever differs between providers is a virtual of this class;
// the protocol code asks the account for its words and never switches on the
// provider. An account is also the virtual folder above its buckets.
class AbstractAccount : public AbstractVirtualFolder
{
public:
    // A fixed underlying type: a number read from outside may lie beyond the last value.
    enum Provider : int {
        AmazonS3Provider = 0,
        GoogleStorageProvider = 1,
        ConnectriaProvider = 2,
        CloudianProvider = 3,
        NiftyProvider = 4,
        ConstantProvider = 5,
        GreenQloudProvider = 6,
        OtherS3Provider = 7
    };

    // The bits that the tool reads. A provider's mask holds further bits that
    // mean nothing here and are only carried along.
    enum Feature {
        ExpectContinueFeature = 1,       // takes "Expect: 100-continue" on upload
        StorageClassFeature = 8,         // knows storage classes
        ServerSideEncryptionFeature = 32 // knows server-side encryption
    };
    Q_DECLARE_FLAGS(Features, Feature)

    ~AbstractAccount() override;

    // Item answers.
    FileSystemClass fileSystemClass() const override { return CloudClass; }
    ItemType itemType() const override { return AccountItem; }
    QString displayName() const override { return name(); }
    QString displayPath() const override { return QString(); }
    bool isRootItem() const override { return true; }
    bool isSelectable() const override { return true; }
    bool isDeletable() const override { return false; }

    // Provider answers.
    virtual QUrl webSite() const = 0;
    virtual Provider provider() const = 0;
    virtual QSharedPointer<Endpoint> standardEndpoint() const = 0;
    virtual bool hasFeature(Features feature) const;
    virtual Features features() const;
    virtual Features standardFeatures() const = 0;
    virtual BucketLocations standardLocations() const = 0;
    virtual int defaultPort(BrindleLib::Protocol protocol) const = 0;
    virtual QByteArray simplifiedScheme() const = 0;
    virtual QByteArray authPrefix() const = 0;
    // The header words, all taken from headerWords().
    virtual QByteArray xMeta() const;
    virtual QByteArray xMetaBrindleboxEncryption() const;
    virtual QByteArray xMetaBrindleboxETag() const;
    virtual QByteArray xMetaBrindleboxContentLength() const;
    virtual QByteArray xAcl() const;
    virtual QByteArray xCopySource() const;
    virtual QByteArray xMetadataDirective() const;
    virtual QByteArray xStorageClass() const;
    virtual QByteArray xVersionId() const;
    virtual QByteArray xDeleteMarker() const;
    // Empty where the store has no server-side encryption: the caller then
    // sends no such header.
    virtual QByteArray xServerSideEncryption() const;
    virtual QByteArray x() const;

    // 80 for http, 443 for https: what a URL leaves out.
    static int standardPort(BrindleLib::Protocol protocol);

    BrindleLib::Protocol protocol() const;
    void setProtocol(BrindleLib::Protocol protocol);
    QString name() const;
    void setName(const QString& name);
    bool isEnabled() const;
    void setEnabled(bool enabled);
    QString comment() const;
    void setComment(const QString& comment);
    QByteArray accessKey() const;
    void setAccessKey(const QByteArray& accessKey);
    QByteArray secretKey() const;
    void setSecretKey(const QByteArray& secretKey);
    void setFeatures(Features features);
    BrindleLib::RequestStyle requestStyle() const;
    void setRequestStyle(BrindleLib::RequestStyle style);
    Id id() const;
    void setId(const Id& id);
    BucketLocations locations() const;
    void setLocations(const BucketLocations& locations);

    // The explicit endpoint, or the provider's default when none was set.
    QSharedPointer<Endpoint> endpoint() const;
    void setEndpoint(const QSharedPointer<Endpoint>& endpoint);

    // Bucket name to CNAME host.
    void addCanonicalName(const QString& bucket, const QString& name);
    QString canonicalName(const QString& bucket, bool& found) const;

    // The explicit port of a protocol when it is above 0, else the default.
    int port(BrindleLib::Protocol protocol) const;
    int httpPort() const;
    void setHttpPort(int port);
    int httpsPort() const;
    void setHttpsPort(int port);
    // Makes port the explicit port of the protocol currently set, so that
    // every URL built for this account carries it; 0 or less goes back to
    // the default. Call it after setProtocol.
    void setExplicitPort(int port);

protected:
    AbstractAccount();
    AbstractAccount(const AbstractAccount& other);
    AbstractAccount& operator=(const AbstractAccount&) = delete;

    // Stores the feature mask and regions of the class whose constructor
    // calls it: each constructor of the tree calls it, so the most derived
    // class has the last word.
    void applyStandards();
    // The immutable word set of the provider's family.
    virtual const HeaderWords& headerWords() const = 0;
    // "scheme:" followed by the account's name: what an account item's url() is.
    QUrl internalUrl(const QString& scheme) const;

private:
    mutable FastMutex m_mutex;
    BrindleLib::Protocol m_protocol = BrindleLib::ProtocolHttp;
    QString m_name;
    bool m_enabled = true;
    QString m_comment;
    QByteArray m_accessKey;
    QByteArray m_secretKey;
    Features m_features;
    BrindleLib::RequestStyle m_requestStyle = BrindleLib::RequestStyleVirtualHost;
    QHash<QString, QString> m_canonicalNames;
    QSharedPointer<Endpoint> m_endpoint;
    Id m_id;
    int m_httpPort = 0;
    int m_httpsPort = 0;
    BucketLocations m_locations;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(AbstractAccount::Features)

// Accounts with the same access key at the same domain share a hash bucket;
// keys compare by pointer identity.
size_t qHash(const QSharedPointer<AbstractAccount>& account, size_t seed = 0);

#endif
