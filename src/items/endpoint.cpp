#include "items/endpoint.h"

Endpoint::Endpoint(const QString& hostName) : m_hostName(hostName)
{
}

Endpoint::Endpoint(const Endpoint& other) : AbstractFS(other), m_hostName(other.hostName())
{
}

QString Endpoint::hostName() const { return lockedRead(m_mutex, m_hostName); }

void Endpoint::setHostName(const QString& hostName)
{
    FastMutexLocker locker(m_mutex);
    m_hostName = hostName;
    m_domain.clear();
}

QString Endpoint::domain() const
{
    FastMutexLocker locker(m_mutex);
    if (m_domain.isEmpty()) {
        const qsizetype lastDot = m_hostName.lastIndexOf(QLatin1Char('.'));
        const qsizetype secondDot =
            lastDot > 0 ? m_hostName.lastIndexOf(QLatin1Char('.'), lastDot - 1) : -1;
        m_domain = secondDot < 0 ? m_hostName : m_hostName.mid(secondDot + 1);
    }
    return m_domain;
}

bool Endpoint::isEqual(const QSharedPointer<Endpoint>& other) const
{
    return other && other->hostName() == hostName();
}
