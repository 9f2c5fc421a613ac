#ifndef HTTPREQUESTQUEUE_H
#define HTTPREQUESTQUEUE_H

#include <QList>

#include "net/httpheader.h"

class PrivateHttpRequest;

// The entries of one HttpClient, the one being served first. The queue owns
// them: whatever leaves it is deleted.
class HttpRequestQueue
{
public:
    HttpRequestQueue() = default;
    HttpRequestQueue(const HttpRequestQueue&) = delete;
    HttpRequestQueue& operator=(const HttpRequestQueue&) = delete;
    ~HttpRequestQueue();

    // True when the entry is the only one, and so is to start now.
    bool append(PrivateHttpRequest* request);
    bool isEmpty() const { return m_entries.isEmpty(); }
    // The entry being served; null when there is none.
    PrivateHttpRequest* current() const { return m_entries.isEmpty() ? nullptr : m_entries.first(); }
    // 0 when there is none.
    int currentId() const;
    HttpRequestHeader currentRequest() const;
    bool hasWaiting() const { return m_entries.count() > 1; }
    // Drops every entry behind the current one.
    void dropWaiting();
    void remove(PrivateHttpRequest* request);
    // Drops all; safe from a signal that one of them raised.
    void clear();

private:
    QList<PrivateHttpRequest*> m_entries;
};

#endif
