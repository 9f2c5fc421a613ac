#include "items/abstractaccount.h"

AbstractAccount::AbstractAccount() = default;

AbstractAccount::AbstractAccount(const AbstractAccount& other) : AbstractVirtualFolder(other)
{
    FastMutexLocker locker(other.m_mutex);
    m_protocol = other.m_protocol;
    m_name = other.m_name;
    m_enabled = other.m_enabled;
    m_comment = other.m_comment;
    m_accessKey = other.m_accessKey;
    m_secretKey = other.m_secretKey;
    m_features = other.m_features;
    m_requestStyle = other.m_requestStyle;
    m_canonicalNames = other.m_canonicalNames;
    m_endpoint = other.m_endpoint;
    m_id = other.m_id;
    m_httpPort = other.m_httpPort;
    m_httpsPort = other.m_httpsPort;
    m_locations = other.m_locations;
}

AbstractAccount::~AbstractAccount() = default;

void AbstractAccount::applyStandards()
{
    setFeatures(standardFeatures());
    setLocations(standardLocations());
}

bool AbstractAccount::hasFeature(Features feature) const
{
    return (features() & feature) != 0;
}

AbstractAccount::Features AbstractAccount::features() const { return lockedRead(m_mutex, m_features); }

QUrl AbstractAccount::internalUrl(const QString& scheme) const
{
    QUrl url;
    url.setScheme(scheme);
    url.setPath(name());
    return url;
}

QByteArray AbstractAccount::xMeta() const { return headerWords().meta; }
QByteArray AbstractAccount::xMetaBrindleboxEncryption() const { return headerWords().metaEncryption; }
QByteArray AbstractAccount::xMetaBrindleboxETag() const { return headerWords().metaETag; }
QByteArray AbstractAccount::xMetaBrindleboxContentLength() const { return headerWords().metaContentLength; }
QByteArray AbstractAccount::xAcl() const { return headerWords().acl; }
QByteArray AbstractAccount::xCopySource() const { return headerWords().copySource; }
QByteArray AbstractAccount::xMetadataDirective() const { return headerWords().metadataDirective; }
QByteArray AbstractAccount::xStorageClass() const { return headerWords().storageClass; }
QByteArray AbstractAccount::xVersionId() const { return headerWords().versionId; }
QByteArray AbstractAccount::xDeleteMarker() const { return headerWords().deleteMarker; }
QByteArray AbstractAccount::xServerSideEncryption() const { return headerWords().serverSideEncryption; }
QByteArray AbstractAccount::x() const { return headerWords().x; }

int AbstractAccount::standardPort(BrindleLib::Protocol protocol)
{
    return protocol == BrindleLib::ProtocolHttps ? 443 : 80;
}

BrindleLib::Protocol AbstractAccount::protocol() const { return lockedRead(m_mutex, m_protocol); }
void AbstractAccount::setProtocol(BrindleLib::Protocol protocol) { lockedWrite(m_mutex, m_protocol, protocol); }
QString AbstractAccount::name() const { return lockedRead(m_mutex, m_name); }
void AbstractAccount::setName(const QString& name) { lockedWrite(m_mutex, m_name, name); }
bool AbstractAccount::isEnabled() const { return lockedRead(m_mutex, m_enabled); }
void AbstractAccount::setEnabled(bool enabled) { lockedWrite(m_mutex, m_enabled, enabled); }
QString AbstractAccount::comment() const { return lockedRead(m_mutex, m_comment); }
void AbstractAccount::setComment(const QString& comment) { lockedWrite(m_mutex, m_comment, comment); }
QByteArray AbstractAccount::accessKey() const { return lockedRead(m_mutex, m_accessKey); }
void AbstractAccount::setAccessKey(const QByteArray& accessKey) { lockedWrite(m_mutex, m_accessKey, accessKey); }
QByteArray AbstractAccount::secretKey() const { return lockedRead(m_mutex, m_secretKey); }
void AbstractAccount::setSecretKey(const QByteArray& secretKey) { lockedWrite(m_mutex, m_secretKey, secretKey); }
void AbstractAccount::setFeatures(Features features) { lockedWrite(m_mutex, m_features, features); }
BrindleLib::RequestStyle AbstractAccount::requestStyle() const { return lockedRead(m_mutex, m_requestStyle); }
void AbstractAccount::setRequestStyle(BrindleLib::RequestStyle style) { lockedWrite(m_mutex, m_requestStyle, style); }
Id AbstractAccount::id() const { return lockedRead(m_mutex, m_id); }
void AbstractAccount::setId(const Id& id) { lockedWrite(m_mutex, m_id, id); }
BucketLocations AbstractAccount::locations() const { return lockedRead(m_mutex, m_locations); }
void AbstractAccount::setLocations(const BucketLocations& locations) { lockedWrite(m_mutex, m_locations, locations); }

QSharedPointer<Endpoint> AbstractAccount::endpoint() const
{
    FastMutexLocker locker(m_mutex);
    return m_endpoint ? m_endpoint : standardEndpoint();
}

void AbstractAccount::setEndpoint(const QSharedPointer<Endpoint>& endpoint) { lockedWrite(m_mutex, m_endpoint, endpoint); }

void AbstractAccount::addCanonicalName(const QString& bucket, const QString& name)
{
    FastMutexLocker locker(m_mutex);
    m_canonicalNames.insert(bucket, name);
}

QString AbstractAccount::canonicalName(const QString& bucket, bool& found) const
{
    FastMutexLocker locker(m_mutex);
    const auto it = m_canonicalNames.constFind(bucket);
    found = it != m_canonicalNames.constEnd();
    return found ? it.value() : QString();
}

int AbstractAccount::port(BrindleLib::Protocol protocol) const
{
    FastMutexLocker locker(m_mutex);
    const int explicitPort = protocol == BrindleLib::ProtocolHttps ? m_httpsPort : m_httpPort;
    return explicitPort > 0 ? explicitPort : defaultPort(protocol);
}

int AbstractAccount::httpPort() const { return lockedRead(m_mutex, m_httpPort); }
void AbstractAccount::setHttpPort(int port) { lockedWrite(m_mutex, m_httpPort, port); }
int AbstractAccount::httpsPort() const { return lockedRead(m_mutex, m_httpsPort); }
void AbstractAccount::setHttpsPort(int port) { lockedWrite(m_mutex, m_httpsPort, port); }

void AbstractAccount::setExplicitPort(int port)
{
    FastMutexLocker locker(m_mutex);
    (m_protocol == BrindleLib::ProtocolHttps ? m_httpsPort : m_httpPort) = port;
}

size_t qHash(const QSharedPointer<AbstractAccount>& account, size_t seed)
{
    if (!account)
        return qHash(QString(), seed);
    const QSharedPointer<Endpoint> endpoint = account->endpoint();
    const QString domain = endpoint ? endpoint->domain() : QString();
    return qHash(QString::fromLatin1(account->accessKey()) + domain, seed);
}
