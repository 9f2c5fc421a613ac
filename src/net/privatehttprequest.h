#ifndef PRIVATEHTTPREQUEST_H
#define PRIVATEHTTPREQUEST_H

#include <memory>

#include <QAtomicInt>
#include <QIODevice>

#include "net/httpheader.h"

class HttpClient;

// One entry of HttpClient's queue: a request, a change of host, or a close.
class PrivateHttpRequest
{
public:
    PrivateHttpRequest();
    virtual ~PrivateHttpRequest() = default;

    virtual void start(HttpClient* client) = 0;
    virtual QByteArray toByteArray() const { return QByteArray(); }
    virtual bool hasRequestHeader() { return false; }
    virtual HttpRequestHeader requestHeader() { return HttpRequestHeader(); }
    virtual QIODevice* sourceDevice() = 0;
    virtual QIODevice* destinationDevice() = 0;

    int id;
    bool finished = false;

    // Shared by every client of the process; the first id is 1.
    static QAtomicInt _idCounter;
};

class PrivateHttpNormalRequest : public PrivateHttpRequest
{
public:
    PrivateHttpNormalRequest(const HttpRequestHeader& header, QIODevice* data, QIODevice* to);
    PrivateHttpNormalRequest(const HttpRequestHeader& header, const QByteArray& data,
                             QIODevice* to);

    void start(HttpClient* client) override;
    QByteArray toByteArray() const override { return m_header.toByteArray(); }
    bool hasRequestHeader() override { return true; }
    HttpRequestHeader requestHeader() override { return m_header; }
    QIODevice* sourceDevice() override { return m_isBa ? nullptr : m_dataDevice; }
    QIODevice* destinationDevice() override { return m_to; }

private:
    HttpRequestHeader m_header;
    bool m_isBa;
    std::unique_ptr<QByteArray> m_dataBa;
    QIODevice* m_dataDevice = nullptr;
    QIODevice* m_to;
};

class PrivateHttpSetHostRequest : public PrivateHttpRequest
{
public:
    PrivateHttpSetHostRequest(const QString& host, int mode, int port);

    void start(HttpClient* client) override;
    QIODevice* sourceDevice() override { return nullptr; }
    QIODevice* destinationDevice() override { return nullptr; }

private:
    QString m_host;
    int m_port;
    int m_mode;
};

class JHttpCloseRequest : public PrivateHttpRequest
{
public:
    void start(HttpClient* client) override;
    QIODevice* sourceDevice() override { return nullptr; }
    QIODevice* destinationDevice() override { return nullptr; }
};

#endif
