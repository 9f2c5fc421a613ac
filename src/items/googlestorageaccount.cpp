#include "items/googlestorageaccount.h"

GoogleStorageAccount::GoogleStorageAccount()
{
    applyStandards();
}

GoogleStorageAccount::GoogleStorageAccount(const GoogleStorageAccount& other)
    : AbstractAccount(other)
{
    FastMutexLocker locker(other.m_googleMutex);
    m_projectId = other.m_projectId;
    m_userId = other.m_userId;
    m_ownersId = other.m_ownersId;
    m_editorsId = other.m_editorsId;
    m_teamId = other.m_teamId;
}

QUrl GoogleStorageAccount::url() const
{
    return internalUrl(QStringLiteral("internal_gs_account"));
}

QSharedPointer<AbstractItem> GoogleStorageAccount::clone() const
{
    return QSharedPointer<GoogleStorageAccount>::create(*this);
}

QUrl GoogleStorageAccount::webSite() const
{
    return QUrl(QStringLiteral("https://cloud.google.com/storage/"));
}

QString GoogleStorageAccount::defaultHost()
{
    return QStringLiteral("storage.googleapis.com");
}

QSharedPointer<Endpoint> GoogleStorageAccount::defaultEndpoint()
{
    static const QSharedPointer<Endpoint> _standardEndPoint =
        QSharedPointer<GSEndpoint>::create(defaultHost());
    return _standardEndPoint;
}

QSharedPointer<Endpoint> GoogleStorageAccount::standardEndpoint() const
{
    return defaultEndpoint();
}

AbstractAccount::Features GoogleStorageAccount::standardFeatures() const
{
    return Features::fromInt(260);
}

BucketLocations GoogleStorageAccount::standardLocations() const
{
    BucketLocations locations;
    const BucketRegion unitedStates(QStringLiteral("United States"), "US");
    locations.addRegion(unitedStates);
    locations.setDefaultRegion(unitedStates);
    locations.addRegion(BucketRegion(QStringLiteral("Europe"), "EU"));
    return locations;
}

int GoogleStorageAccount::defaultPort(BrindleLib::Protocol protocol) const
{
    return standardPort(protocol);
}

QByteArray GoogleStorageAccount::simplifiedScheme() const
{
    return QByteArrayLiteral("gs");
}

QByteArray GoogleStorageAccount::authPrefix() const
{
    return QByteArrayLiteral("GOOG1");
}

QByteArray GoogleStorageAccount::xMetaBrindleboxEtag2() const
{
    return headerWords().metaETag2;
}

const HeaderWords& GoogleStorageAccount::headerWords() const
{
    static const HeaderWords words = [] {
        HeaderWords google = HeaderWords::withPrefix("x-goog-");
        google.serverSideEncryption.clear();
        return google;
    }();
    return words;
}

QByteArray GoogleStorageAccount::read(const QByteArray GoogleStorageAccount::*field) const
{
    FastMutexLocker locker(m_googleMutex);
    return this->*field;
}

void GoogleStorageAccount::write(QByteArray GoogleStorageAccount::*field, const QByteArray& value)
{
    FastMutexLocker locker(m_googleMutex);
    this->*field = value;
}

QByteArray GoogleStorageAccount::projectId() const { return read(&GoogleStorageAccount::m_projectId); }
void GoogleStorageAccount::setProjectId(const QByteArray& id) { write(&GoogleStorageAccount::m_projectId, id); }
QByteArray GoogleStorageAccount::userId() const { return read(&GoogleStorageAccount::m_userId); }
void GoogleStorageAccount::setUserId(const QByteArray& id) { write(&GoogleStorageAccount::m_userId, id); }
QByteArray GoogleStorageAccount::ownersId() const { return read(&GoogleStorageAccount::m_ownersId); }
void GoogleStorageAccount::setOwnersId(const QByteArray& id) { write(&GoogleStorageAccount::m_ownersId, id); }
QByteArray GoogleStorageAccount::editorsId() const { return read(&GoogleStorageAccount::m_editorsId); }
void GoogleStorageAccount::setEditorsId(const QByteArray& id) { write(&GoogleStorageAccount::m_editorsId, id); }
QByteArray GoogleStorageAccount::teamId() const { return read(&GoogleStorageAccount::m_teamId); }
void GoogleStorageAccount::setTeamId(const QByteArray& id) { write(&GoogleStorageAccount::m_teamId, id); }
