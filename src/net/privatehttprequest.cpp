#include "net/privatehttprequest.h"

#include "net/httpclient.h"

QAtomicInt PrivateHttpRequest::_idCounter = 0;

PrivateHttpRequest::PrivateHttpRequest() : id(_idCounter.fetchAndAddRelaxed(1) + 1)
{
}

PrivateHttpNormalRequest::PrivateHttpNormalRequest(const HttpRequestHeader& header,
                                                   QIODevice* data, QIODevice* to)
    : m_header(header), m_isBa(false), m_dataDevice(data), m_to(to)
{
}

PrivateHttpNormalRequest::PrivateHttpNormalRequest(const HttpRequestHeader& header,
                                                   const QByteArray& data, QIODevice* to)
    : m_header(header), m_isBa(true), m_dataBa(new QByteArray(data)), m_to(to)
{
}

void PrivateHttpNormalRequest::start(HttpClient* client)
{
    if (!client->m_socket)
        client->setSock(nullptr);
    client->m_header = m_header;

    if (m_isBa) {
        client->m_buffer = *m_dataBa;
        client->m_header.setContentLength(client->m_buffer.size());
        client->m_postDevice = nullptr;
    } else {
        client->m_buffer.clear();
        client->m_postDevice = nullptr;
        // A body that cannot be opened is left out without an error.
        if (m_dataDevice && (m_dataDevice->isOpen() || m_dataDevice->open(QIODevice::ReadOnly))) {
            client->m_postDevice = m_dataDevice;
            if (m_dataDevice->size() >= 0)
                client->m_header.setContentLength(m_dataDevice->size());
        }
    }

    // A destination that cannot be opened sends the body to the block buffer.
    client->m_toDevice = nullptr;
    if (m_to && (m_to->isOpen() || m_to->open(QIODevice::WriteOnly)))
        client->m_toDevice = m_to;

    client->m_reconnectAttempts = qMin(2, client->m_resendLimit);
    client->slotSendRequest();
}

PrivateHttpSetHostRequest::PrivateHttpSetHostRequest(const QString& host, int mode, int port)
    : m_host(host), m_port(port), m_mode(mode)
{
}

void PrivateHttpSetHostRequest::start(HttpClient* client)
{
    client->m_hostName = m_host;
    client->m_port = m_port;
    client->m_mode = HttpClient::ConnectionMode(m_mode);
    client->finishedWithSuccess();
}

void JHttpCloseRequest::start(HttpClient* client)
{
    if (client->m_state == HttpClient::Unconnected)
        client->finishedWithSuccess();
    else
        client->closeConn();
}
