#include "operations/abstractwebserviceoperation.h"

bool AbstractWebServiceOperation::initializeResponseDataDevice()
{
    clearResponseData();
    return true;
}

void AbstractWebServiceOperation::dataReceived(const QByteArray& data)
{
    FastMutexLocker locker(m_webMutex);
    m_responseData += data;
}

void AbstractWebServiceOperation::setRequestData(const QByteArray& data) { lockedWrite(m_webMutex, m_requestData, data); }

void AbstractWebServiceOperation::makeRequestHeader()
{
    // Built outside the lock: prepareRequestHeader reads this operation's fields.
    HttpRequestHeader header;
    prepareRequestHeader(header);
    FastMutexLocker locker(m_webMutex);
    m_requestHeader = header;
}

HttpRequestHeader AbstractWebServiceOperation::httpRequestHeader() const { return lockedRead(m_webMutex, m_requestHeader); }
HttpResponseHeader AbstractWebServiceOperation::httpResponseHeader() const { return lockedRead(m_webMutex, m_responseHeader); }
void AbstractWebServiceOperation::setHttpResponseHeader(const HttpResponseHeader& header) { lockedWrite(m_webMutex, m_responseHeader, header); }
QByteArray AbstractWebServiceOperation::responseData() const { return lockedRead(m_webMutex, m_responseData); }
QByteArray AbstractWebServiceOperation::requestData() const { return lockedRead(m_webMutex, m_requestData); }

void AbstractWebServiceOperation::clearResponseData()
{
    FastMutexLocker locker(m_webMutex);
    m_responseData.clear();
}

int AbstractWebServiceOperation::redirectCount() const { return lockedRead(m_webMutex, m_redirectCount); }
void AbstractWebServiceOperation::setRedirectCount(int count) { lockedWrite(m_webMutex, m_redirectCount, count); }
QUrl AbstractWebServiceOperation::redirectLocation() const { return lockedRead(m_webMutex, m_redirectLocation); }
bool AbstractWebServiceOperation::redirectFlag() const { return lockedRead(m_webMutex, m_redirectFlag); }

void AbstractWebServiceOperation::setRedirectLocation(const QUrl& location)
{
    FastMutexLocker locker(m_webMutex);
    m_redirectLocation = location;
    m_redirectFlag = true;
}
