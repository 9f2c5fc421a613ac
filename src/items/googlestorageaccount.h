#ifndef GOOGLESTORAGEACCOUNT_H
#define GOOGLESTORAGEACCOUNT_H

#include "items/abstractaccount.h"

// Google Cloud Storage through its interoperable XML API. It has no
// server-side encryption header.
class GoogleStorageAccount : public AbstractAccount
{
public:
    GoogleStorageAccount();
    GoogleStorageAccount(const GoogleStorageAccount& other);

    FileSystemType fileSystemType() const override { return GSFileSystem; }
    QUrl url() const override;
    QSharedPointer<AbstractItem> clone() const override;

    QUrl webSite() const override;
    Provider provider() const override { return GoogleStorageProvider; }
    QSharedPointer<Endpoint> standardEndpoint() const override;
    Features standardFeatures() const override;
    BucketLocations standardLocations() const override;
    int defaultPort(BrindleLib::Protocol protocol) const override;
    QByteArray simplifiedScheme() const override;
    QByteArray authPrefix() const override;
    virtual QByteArray xMetaBrindleboxEtag2() const;

    QByteArray projectId() const;
    void setProjectId(const QByteArray& id);
    QByteArray userId() const;
    void setUserId(const QByteArray& id);
    QByteArray ownersId() const;
    void setOwnersId(const QByteArray& id);
    QByteArray editorsId() const;
    void setEditorsId(const QByteArray& id);
    QByteArray teamId() const;
    void setTeamId(const QByteArray& id);

    static QString defaultHost();
    // The one endpoint that every account of this class shares by default.
    static QSharedPointer<Endpoint> defaultEndpoint();

protected:
    const HeaderWords& headerWords() const override;

private:
    QByteArray read(const QByteArray GoogleStorageAccount::*field) const;
    void write(QByteArray GoogleStorageAccount::*field, const QByteArray& value);

    mutable FastMutex m_googleMutex;
    QByteArray m_projectId;
    QByteArray m_userId;
    QByteArray m_ownersId;
    QByteArray m_editorsId;
    QByteArray m_teamId;
};

#endif
