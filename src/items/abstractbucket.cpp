#include "items/abstractbucket.h"

#include "items/abstractaccount.h"
#include "items/requesturl.h"
#include "items/url.h"

AbstractBucket::AbstractBucket(QChar delimiter, const QString& name, const QDateTime& creationDate,
                               const QSharedPointer<AbstractAccount>& account)
    : AbstractS3Folder(delimiter), m_bucketName(name), m_account(account),
      m_creationDate(creationDate)
{
}

AbstractBucket::AbstractBucket(const AbstractBucket& other)
    : AbstractS3Folder(other), m_bucketName(other.m_bucketName), m_account(other.m_account),
      m_creationDate(other.m_creationDate)
{
    FastMutexLocker locker(other.m_mutex);
    m_versioningState = other.m_versioningState;
    m_externalBucket = other.m_externalBucket;
    m_url = other.m_url;
    m_lastCName = other.m_lastCName;
}

QUrl AbstractBucket::url() const
{
    return lockedCache(m_mutex, m_url, [this] { return url(m_account->protocol(), true); });
}

QUrl AbstractBucket::url(BrindleLib::Protocol protocol, bool useCName) const
{
    return RequestUrl::build(m_account, protocol, m_bucketName, QString(), useCName, false,
                             QByteArray());
}

QUrl AbstractBucket::urlWithoutCName() const
{
    return url(m_account->protocol(), false);
}

QString AbstractBucket::displayPath() const
{
    if (!RequestUrl::isWellKnown(m_account))
        return url().toString();
    return QString::fromLatin1(m_account->simplifiedScheme()) + QStringLiteral("://")
         + m_bucketName + RequestUrl::portText(m_account) + delimiter();
}

QSharedPointer<AbstractFolder> AbstractBucket::rootItem() const
{
    return clone().staticCast<AbstractFolder>();
}

QString AbstractBucket::bucketName() const
{
    return m_bucketName;
}

QSharedPointer<AbstractAccount> AbstractBucket::account() const
{
    return m_account;
}

BrindleLib::VersioningState AbstractBucket::versioningState() const { return lockedRead(m_mutex, m_versioningState); }
void AbstractBucket::setVersioningState(BrindleLib::VersioningState state) { lockedWrite(m_mutex, m_versioningState, state); }

QDateTime AbstractBucket::creationDate() const
{
    return m_creationDate;
}

bool AbstractBucket::isExternalBucket() const { return lockedRead(m_mutex, m_externalBucket); }
void AbstractBucket::setExternalBucket(bool external) { lockedWrite(m_mutex, m_externalBucket, external); }
QString AbstractBucket::lastCName() const { return lockedRead(m_mutex, m_lastCName); }
void AbstractBucket::setLastCName(const QString& name) { lockedWrite(m_mutex, m_lastCName, name); }
