#include "net/httprequestqueue.h"

#include "net/privatehttprequest.h"

HttpRequestQueue::~HttpRequestQueue() { qDeleteAll(m_entries); }

bool HttpRequestQueue::append(PrivateHttpRequest* request)
{
    m_entries.append(request);
    return m_entries.count() == 1;
}

int HttpRequestQueue::currentId() const { return m_entries.isEmpty() ? 0 : m_entries.first()->id; }

HttpRequestHeader HttpRequestQueue::currentRequest() const
{
    return m_entries.isEmpty() ? HttpRequestHeader() : m_entries.first()->requestHeader();
}

void HttpRequestQueue::dropWaiting()
{
    while (m_entries.count() > 1)
        delete m_entries.takeLast();
}

void HttpRequestQueue::remove(PrivateHttpRequest* request)
{
    m_entries.removeOne(request);
    delete request;
}

void HttpRequestQueue::clear()
{
    const QList<PrivateHttpRequest*> doomed = m_entries;
    m_entries.clear();
    qDeleteAll(doomed);
}
