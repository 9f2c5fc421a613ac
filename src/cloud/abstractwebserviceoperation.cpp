#include "cloud/abstractwebserviceoperation.h"

HttpResponseHeader AbstractWebServiceOperation::httpResponseHeader() const
{
    FastMutexLocker locker(m_webMutex);
    return m_responseHeader;
}

void AbstractWebServiceOperation::setHttpResponseHeader(const HttpResponseHeader& header)
{
    FastMutexLocker locker(m_webMutex);
    m_responseHeader = header;
}

int AbstractWebServiceOperation::redirectCount() const
{
    FastMutexLocker locker(m_webMutex);
    return m_redirectCount;
}

void AbstractWebServiceOperation::setRedirectCount(int count)
{
    FastMutexLocker locker(m_webMutex);
    m_redirectCount = count;
}

QUrl AbstractWebServiceOperation::redirectLocation() const
{
    FastMutexLocker locker(m_webMutex);
    return m_redirectLocation;
}

bool AbstractWebServiceOperation::redirectFlag() const
{
    FastMutexLocker locker(m_webMutex);
    return m_redirectFlag;
}

void AbstractWebServiceOperation::setRedirectLocation(const QUrl& location)
{
    FastMutexLocker locker(m_webMutex);
    m_redirectLocation = location;
    m_redirectFlag = true;
}
