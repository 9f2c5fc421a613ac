#include "net/httpclient.h"

#include <QSslSocket>
#include <QTimer>

#include "net/privatehttprequest.h"
#include "net/proxyenvironment.h"
#include "net/tcpsocket.h"
#include "net/tlssettings.h"

namespace {
const int global_continueTimeout = 30000;
// Each piece waits for the last to leave: small pieces made an upload cost
// one pass of the event loop per 2 KiB, a quarter of what the link carries.
const qint64 global_postPieceSize = 65536;
// Bounds what a download holds between the socket and the file.
const qint64 global_socketReadBufferSize = 1024 * 1024;
} // namespace

HttpClient::HttpClient(QObject* parent) : QObject(parent), m_continueTimer(new QTimer(this))
{
    // Started and stopped around a held-back body; only the socket's inactivity
    // watch actually ends a request that gets no answer.
    m_continueTimer->setSingleShot(true);
}

HttpClient::~HttpClient()
{
    if (m_socket) {
        m_socket->disconnect(this);
        if (m_ownsSocket)
            delete m_socket;
    }
    qDeleteAll(m_pending);
}

void HttpClient::queue(void (HttpClient::*slot)())
{
    QMetaObject::invokeMethod(this, slot, Qt::QueuedConnection);
}

int HttpClient::setHost(const QString& host, ConnectionMode mode, int port)
{
    if (port < 1)
        port = mode == ConnectionModeHttps ? 443 : 80;
    return addRequest(new PrivateHttpSetHostRequest(host, mode, port));
}

int HttpClient::request(const HttpRequestHeader& header, QIODevice* data, QIODevice* to)
{
    return addRequest(new PrivateHttpNormalRequest(header, data, to));
}

int HttpClient::request(const HttpRequestHeader& header, const QByteArray& data, QIODevice* to)
{
    return addRequest(new PrivateHttpNormalRequest(header, data, to));
}

int HttpClient::close()
{
    return addRequest(new JHttpCloseRequest);
}

int HttpClient::closeConnection()
{
    return close();
}

int HttpClient::addRequest(PrivateHttpRequest* request)
{
    m_pending.append(request);
    if (m_pending.count() == 1)
        queue(&HttpClient::startNextRequest);
    return request->id;
}

int HttpClient::currentId() const
{
    return m_pending.isEmpty() ? 0 : m_pending.first()->id;
}

HttpRequestHeader HttpClient::currentRequest() const
{
    return m_pending.isEmpty() ? HttpRequestHeader() : m_pending.first()->requestHeader();
}

void HttpClient::clearPendingRequests()
{
    while (m_pending.count() > 1)
        delete m_pending.takeLast();
}

void HttpClient::setSock(QTcpSocket* socket)
{
    if (m_socket) {
        m_socket->disconnect(this);
        if (m_ownsSocket)
            delete m_socket;
    }
    m_ownsSocket = false;
    if (!socket) {
        m_ownsSocket = true;
        if (QSslSocket::supportsSsl()) {
            socket = new SslSocket(this);
        } else {
            socket = new TcpSocket(this);
        }
    }
    m_socket = socket;

    connect(socket, &QAbstractSocket::connected, this, &HttpClient::slotConnected);
    connect(socket, &QAbstractSocket::disconnected, this, &HttpClient::slotClosed);
    connect(socket, &QIODevice::readyRead, this, &HttpClient::slotReadyRead);
    connect(socket, &QAbstractSocket::errorOccurred, this, &HttpClient::slotError);
    connect(socket, &QIODevice::bytesWritten, this, &HttpClient::slotBytesWritten);
    if (auto* tcp = qobject_cast<TcpSocket*>(socket))
        connect(tcp, &TcpSocket::timeout, this, &HttpClient::timeout);
    if (auto* ssl = qobject_cast<SslSocket*>(socket))
        connect(ssl, &SslSocket::timeout, this, &HttpClient::timeout);
    if (auto* ssl = qobject_cast<QSslSocket*>(socket)) {
        connect(ssl, &QSslSocket::sslErrors, this, &HttpClient::slotSslErrors);
        connect(ssl, &QSslSocket::encryptedBytesWritten, this,
                &HttpClient::slotEncryptedBytesWritten);
    }
}

void HttpClient::ignoreSslErrors()
{
    if (auto* ssl = qobject_cast<QSslSocket*>(m_socket))
        ssl->ignoreSslErrors();
}

void HttpClient::slotSslErrors(const QList<QSslError>& errors)
{
    // The socket forgets an ignore given before it connected: it counts only here.
    if (TlsSettings::isInsecure())
        ignoreSslErrors();
    else
        m_sslErrors = errors;  // for the message: the socket reports a bare failure next
}

qint64 HttpClient::read(char* data, qint64 maxlen)
{
    if (!data && maxlen != 0) {
        qWarning("HttpClient::read: Null pointer error");
        return -1;
    }
    const int n = m_responseBuffer.read(data, int(qMin(maxlen, bytesAvailable())));
    m_bytesDone += n;
    return n;
}

QByteArray HttpClient::readAll()
{
    QByteArray data(bytesAvailable(), Qt::Uninitialized);
    data.resize(read(data.data(), data.size()));
    return data;
}

qint64 HttpClient::bytesAvailable() const
{
    return m_responseBuffer.size();
}

void HttpClient::startNextRequest()
{
    if (m_pending.isEmpty())
        return;
    m_error = NoError;
    m_errorString = QStringLiteral("Unknown error");
    m_responseBuffer.clear();

    PrivateHttpRequest* request = m_pending.first();
    const int id = request->id;
    emit requestStarted(id, request->toByteArray());
    // The owner may have aborted from the signal.
    if (m_pending.isEmpty() || m_pending.first()->id != id)
        return;
    request->start(this);
}

void HttpClient::slotSendRequest()
{
    if (m_hostName.isNull()) {
        finishedWithError(QStringLiteral("No server set to connect to"), UnknownError);
        return;
    }

    QString targetHost = m_hostName;
    int targetPort = m_port;
    auto* ssl = qobject_cast<QSslSocket*>(m_socket);
    const bool encrypted = m_mode == ConnectionModeHttps || (ssl && ssl->isEncrypted());

    QNetworkProxy proxy = ProxyEnvironment::current(m_hostName, encrypted);
    if (!proxy.password().isEmpty())
        m_proxyAuthenticator.setCredentials(proxy.user(), proxy.password());

    bool inTheClearViaProxy = false;
    if (proxy.type() == QNetworkProxy::HttpCachingProxy
        || proxy.type() == QNetworkProxy::HttpProxy) {
        if (proxy.hostName().isEmpty()) {
            proxy.setType(QNetworkProxy::NoProxy);
        } else if (proxy.type() == QNetworkProxy::HttpCachingProxy || !encrypted) {
            // An encrypted request tunnels through the proxy instead.
            proxy.setType(QNetworkProxy::HttpCachingProxy);
            inTheClearViaProxy = true;
        }
    }

    m_withoutBody = false;
    if (inTheClearViaProxy) {
        m_header.setCachingProxyInUse(true);
        m_header.remove("Proxy-Authorization");  // the answer to an earlier challenge
        // NTLM's first message authenticates nothing: its request goes without the body,
        // which the next one carries over the same connection.
        m_withoutBody = m_proxyAuthenticator.method() == Authenticator::Ntlm
            && m_proxyAuthenticator.phase() == Authenticator::Start;
        if (m_withoutBody)
            m_postDevice = nullptr;
        if (m_proxyAuthenticator.method() != Authenticator::None) {
            const QByteArray method = HttpRequestHeader::methodString(m_header.method());
            const QByteArray credentials =
                m_proxyAuthenticator.calculateResponse(method, m_header.path());
            if (!credentials.isEmpty())
                m_header.addField(HttpField("Proxy-Authorization", credentials));
        }
        targetHost = proxy.hostName();
        targetPort = proxy.port();
    }

    // The socket talks straight to the proxy when it is used in the clear; left to
    // its default, the toolkit would tunnel through the application proxy instead.
    m_socket->setProxy(encrypted ? proxy : QNetworkProxy(QNetworkProxy::NoProxy));

    const bool newConnection = m_socket->peerName() != targetHost
        || int(m_socket->peerPort()) != targetPort
        || m_socket->state() != QAbstractSocket::ConnectedState
        || (ssl && ssl->isEncrypted() != (m_mode == ConnectionModeHttps));
    if (newConnection) {
        m_socket->blockSignals(true);
        m_socket->abort();
        m_socket->blockSignals(false);
        setState(Connecting);
        if (ssl && m_mode == ConnectionModeHttps)
            ssl->connectToHostEncrypted(m_hostName, quint16(m_port));
        else
            m_socket->connectToHost(targetHost, quint16(targetPort));
    } else {
        slotConnected();
    }
    emit requestStarted(-1, m_header.toByteArray());
}

void HttpClient::slotConnected()
{
    if (m_state != Sending) {
        m_bytesDone = 0;
        setState(Sending);
    }
    // The body goes out in small pieces, each written once the last has left: with
    // Nagle's algorithm the second piece waits for the server's delayed ACK (40 ms
    // on Linux), which made every small upload cost that much.
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    HttpRequestHeader sent = m_header;
    if (m_withoutBody && sent.containsContentLength()) {
        sent.setContentLength(0);
        sent.remove("Expect");
    }
    const QByteArray head = sent.toByteArray();
    m_socket->write(head);
    m_bytesTotal = head.size();

    if (m_withoutBody)
        return;
    if (m_postDevice) {
        m_postDevice->seek(0);
        m_bytesTotal += m_postDevice->size();
        // The body waits for a 100; the bytesWritten of the head starts it otherwise.
        if (m_header.field("expect").value().toLower().contains("100-continue")) {
            m_pendingPost = true;
            m_continueTimer->start(global_continueTimeout);
        }
    } else {
        m_bytesTotal += m_buffer.size();
        m_socket->write(m_buffer);
    }
}

void HttpClient::slotBytesWritten(qint64 bytes)
{
    m_bytesDone += bytes;
    emit dataSendProgress(m_bytesDone, m_bytesTotal);
    postMoreData();
}

void HttpClient::slotEncryptedBytesWritten(qint64)
{
    postMoreData();
}

qint64 HttpClient::bytesToWrite() const
{
    qint64 n = m_socket->bytesToWrite();
    if (auto* ssl = qobject_cast<QSslSocket*>(m_socket))
        n += ssl->encryptedBytesToWrite();
    return n;
}

void HttpClient::postMoreData()
{
    if (m_pendingPost || !m_postDevice)
        return;
    // A new piece only when the previous one has left completely, so that an upload
    // never sits in memory and the progress tracks what really went out.
    if (bytesToWrite() != 0)
        return;

    const qint64 wanted =
        qBound<qint64>(0, m_postDevice->size() - m_postDevice->pos(), global_postPieceSize);
    QByteArray piece(wanted, Qt::Uninitialized);
    const qint64 n = m_postDevice->read(piece.data(), wanted);
    if (n < 0) {
        qWarning("Could not read enough bytes from the device");
        closeConn();
        return;
    }
    piece.resize(n);
    if (m_postDevice->atEnd())
        m_postDevice = nullptr;
    m_socket->write(piece);
}

void HttpClient::continuePost()
{
    if (!m_pendingPost)
        return;
    m_pendingPost = false;
    setState(Sending);
    slotBytesWritten(0);
    // A final answer that came in with the 100 raises no readyRead of its own.
    if (m_socket->bytesAvailable() > 0)
        queue(&HttpClient::slotReadyRead);
}

bool HttpClient::hasBody() const
{
    const int status = m_response.statusCode();
    return m_header.method() != HttpRequestHeader::HeadMethod && status != 304 && status != 204
        && status != 205;
}

void HttpClient::slotReadyRead()
{
    if (m_state != Reading) {
        m_stateBeforeReading = m_state;
        setState(Reading);
        m_readHeader = true;
        m_headerStr.clear();
        m_bytesDone = 0;
        m_chunkedSize = -1;
        m_repost = false;
        // A body that arrives faster than it is written waits in the kernel,
        // not in memory.
        m_socket->setReadBufferSize(global_socketReadBufferSize);
    }

    if (m_readHeader && !readResponseHead())
        return;

    QByteArray data;
    bool complete = !hasBody();
    if (!complete && !readBody(data, complete))
        return;

    if (!data.isEmpty() && !m_repost)
        deliver(data);

    if (!complete)
        return;
    if (m_repost) {
        resendWithBody();
        return;
    }
    if (m_response.field("connection").value().compare("close", Qt::CaseInsensitive) == 0) {
        closeConn();
    } else {
        // Finish after this slot has returned; the connection stays for the next request.
        setState(Connected);
        queue(&HttpClient::slotDoFinished);
    }
}

// Reads heads until a final one is in. False: stop this pass (head incomplete,
// waiting for the held-back body to go, failure, or the owner aborted).
bool HttpClient::readResponseHead()
{
    while (m_readHeader) {
        bool end = false;
        while (!end && m_socket->canReadLine()) {
            const QByteArray line = m_socket->readLine();
            m_headerStr += line;
            end = line == "\r\n" || line == "\n" || line.isEmpty();
        }
        if (!end)
            return false;

        m_response = HttpResponseHeader(m_headerStr);
        m_headerStr.clear();
        if (!m_response.isValid()) {
            finishedWithError(QStringLiteral("Invalid HTTP response header"),
                              InvalidResponseHeader);
            closeConn();
            return false;
        }

        const int status = m_response.statusCode();
        if (status == 407) {
            if (!handleProxyAuthentication())
                return false;
        } else {
            m_buffer.clear();
        }

        if (status == 100 && m_pendingPost) {
            m_continueTimer->stop();
            emit responseHeaderReceived(m_response);
            queue(&HttpClient::continuePost);
            return false;
        }
        if (status == 100) {
            // Nothing was held back: skip it, the real head follows.
            setState(m_stateBeforeReading);
            continue;
        }

        // A final answer while the body is held back cancels the body.
        m_continueTimer->stop();
        m_pendingPost = false;
        m_readHeader = false;
        if (m_response.field("transfer-encoding").value().toLower().contains("chunked"))
            m_chunkedSize = 0;
        if (!m_repost) {
            emit responseHeaderReceived(m_response);
            if (m_state == Unconnected || m_state == Closing)
                return false;
        }
    }
    return true;
}

// False: stop this pass without delivering.
bool HttpClient::readBody(QByteArray& data, bool& complete)
{
    qint64 n = m_socket->bytesAvailable();
    if (m_chunkedSize != -1)
        return readChunkedBody(data, complete);

    if (m_response.containsContentLength()) {
        const qint64 length = m_response.contentLength();
        // A response that is only drained before a resend is taken whole.
        if (m_repost && length > n) {
            m_socket->setReadBufferSize(0);
            return false;
        }
        n = qMin(n, length - m_bytesDone);
        if (n > 0)
            data = m_socket->read(n);
        complete = m_bytesDone + bytesAvailable() + data.size() == length;
        return true;
    }

    // No length: only the closing of the connection ends this body.
    if (n == 0)
        return false;
    data = m_socket->readAll();
    return true;
}

bool HttpClient::readChunkedBody(QByteArray& data, bool& complete)
{
    const auto fail = [this, &data] {
        data.clear();
        finishedWithError(QStringLiteral("Invalid HTTP chunked body"), WrongContentLength);
        closeConn();
        return false;
    };

    for (;;) {
        if (m_chunkedSize == 0) {
            if (!m_socket->canReadLine())
                break;
            QByteArray sizeLine = m_socket->readLine();
            const int semicolon = int(sizeLine.indexOf(';'));
            if (semicolon >= 0)
                sizeLine.truncate(semicolon);
            bool ok = false;
            const qint64 size = sizeLine.trimmed().toLongLong(&ok, 16);
            if (!ok || size < 0)
                return fail();
            m_chunkedSize = size == 0 ? -2 : size;
        }
        while (m_chunkedSize == -2 && m_socket->canReadLine()) {
            const QByteArray line = m_socket->readLine();
            if (line == "\r\n" || line == "\n")
                m_chunkedSize = -1;
        }
        if (m_chunkedSize == -1) {
            complete = true;
            break;
        }
        if (m_chunkedSize == -2)
            break;  // the rest of the trailer is still on its way

        qint64 n = m_socket->bytesAvailable();
        if (n == 0)
            break;
        if (n == m_chunkedSize || n == m_chunkedSize + 1) {
            // The closing CR LF is not in yet: keep one byte back until it is.
            n = m_chunkedSize - 1;
            if (n == 0)
                break;
        }
        const QByteArray piece = m_socket->read(qMin(n, m_chunkedSize));
        data += piece;
        m_chunkedSize -= piece.size();
        if (m_chunkedSize == 0 && n - piece.size() >= 2) {
            char crlf[2];
            if (m_socket->read(crlf, 2) != 2 || crlf[0] != '\r' || crlf[1] != '\n')
                return fail();
        }
    }
    return true;
}

void HttpClient::deliver(const QByteArray& data)
{
    const qint64 length = m_response.containsContentLength() ? m_response.contentLength() : 0;
    if (m_toDevice) {
        const qint64 written = m_toDevice->write(data);
        if (written != data.size())
            finishedWithError(QStringLiteral("Error writing response to device"), UnknownError);
        else
            m_bytesDone += written;
        emit dataReadProgress(m_bytesDone, length);
        return;
    }
    m_responseBuffer.append(data);
    emit dataReadProgress(m_bytesDone + bytesAvailable(), length);
    emit readyRead(m_response);
}

// Returns whether reading goes on with the 407's body (drained, then a resend).
bool HttpClient::handleProxyAuthentication()
{
    if (m_proxyAuthenticator.isNull())
        m_proxyAuthenticator.detach();
    m_proxyAuthenticator.parseHttpResponse(m_response, true);

    if (m_proxyAuthenticator.phase() == Authenticator::Done) {
        // Nothing more to offer: the owner may supply new credentials.
        m_socket->blockSignals(true);
        emit proxyAuthenticationRequired(QNetworkProxy::applicationProxy(),
                                         &m_proxyAuthenticator);
        m_socket->blockSignals(false);
        if (m_proxyAuthenticator.phase() == Authenticator::Done) {
            finishedWithError(QStringLiteral("Proxy authentication required"),
                              ProxyAuthenticationRequiredError);
            closeConn();
            return false;
        }
    }
    if (m_proxyAuthenticator.phase() == Authenticator::Invalid) {
        finishedWithError(QStringLiteral("Unknown authentication method"),
                          AuthenticationRequiredError);
        closeConn();
        return false;
    }

    const auto closing = [this](const char* name) {
        return m_response.field(name).value().compare("close", Qt::CaseInsensitive) == 0;
    };
    // A body announced but not (wholly) sent would leave the proxy reading the
    // resent request as that body: HTTP/1.1 leaves only closing the connection.
    const bool bodyOwed = m_pendingPost || m_postDevice;
    if (bodyOwed || closing("proxy-connection") || closing("connection")) {
        m_pendingPost = false;
        m_continueTimer->stop();
        setState(Closing);
        m_socket->readAll();
        m_socket->blockSignals(true);
        m_socket->close();
        m_socket->blockSignals(false);
        resendWithBody();
        return false;
    }
    m_repost = true;
    return true;
}

// After a proxy's challenge or a broken send: the whole body goes again, from its start.
void HttpClient::resendWithBody()
{
    QIODevice* source = m_pending.isEmpty() ? nullptr : m_pending.first()->sourceDevice();
    m_postDevice = source && source->isOpen() ? source : nullptr;
    slotSendRequest();
}

void HttpClient::slotClosed()
{
    if (m_state == Reading) {
        if (m_response.containsContentLength()
            && m_bytesDone + bytesAvailable() != m_response.contentLength())
            finishedWithError(QStringLiteral("Wrong content length"), WrongContentLength);
    } else if (m_state == Connecting || m_state == Sending) {
        finishedWithError(QStringLiteral("Server closed connection unexpectedly"),
                          UnexpectedClose);
    }
    m_postDevice = nullptr;
    setState(Closing);
    queue(&HttpClient::slotDoFinished);
}

void HttpClient::slotError(QAbstractSocket::SocketError error)
{
    m_postDevice = nullptr;
    if (m_state != Connecting && m_state != Sending && m_state != Reading) {
        closeConn();
        return;
    }

    switch (error) {
    case QAbstractSocket::ConnectionRefusedError:
        finishedWithError(QStringLiteral("Connection refused (or timed out)"), ConnectionRefused);
        break;
    case QAbstractSocket::HostNotFoundError:
        finishedWithError(QStringLiteral("Host %1 not found").arg(m_socket->peerName()),
                          HostNotFound);
        break;
    case QAbstractSocket::ProxyAuthenticationRequiredError:
        finishedWithError(m_socket->errorString(), ProxyAuthenticationRequiredError);
        break;
    case QAbstractSocket::SslHandshakeFailedError:
        finishedWithError(TlsSettings::failureText(m_hostName, m_sslErrors, m_socket->errorString()),
                          UnknownError);
        m_sslErrors.clear();
        // Closed here and now: the socket's own close a moment later, or a queued
        // finish, would end whatever request the owner has queued meanwhile.
        m_socket->blockSignals(true);
        m_socket->abort();
        m_socket->blockSignals(false);
        setState(Unconnected);
        return;
    case QAbstractSocket::RemoteHostClosedError:
        if (m_state == Sending && m_reconnectAttempts > 0) {
            // Broken while sending: start over on a new connection, with the whole
            // body (a head that announces it with none behind it would only stall).
            --m_reconnectAttempts;
            setState(Closing);
            setState(Unconnected);
            m_socket->blockSignals(true);
            m_socket->abort();
            m_socket->blockSignals(false);
            queue(&HttpClient::resendWithBody);
            return;
        }
        // While reading this is no error: the owner checks what arrived. A request
        // that never got out whole, though, can't have succeeded.
        if (m_state == Sending)
            finishedWithError(QStringLiteral("Server closed connection unexpectedly"),
                              UnexpectedClose);
        break;
    default:
        finishedWithError(QStringLiteral("HTTP request failed"), UnknownError);
        break;
    }
    closeConn();
}

void HttpClient::slotDoFinished()
{
    if (m_state == Unconnected)
        return;
    if (m_state != Connected)
        setState(Unconnected);
    finishedWithSuccess();
}

void HttpClient::finishedWithSuccess()
{
    if (m_pending.isEmpty() || m_pending.first()->finished)
        return;
    PrivateHttpRequest* request = m_pending.first();
    request->finished = true;
    m_hasFinishedWithError = false;
    // The body's owner may free it as soon as it hears of the end.
    m_postDevice = nullptr;
    emit requestFinished(request->id, false);
    // An abort from the signal has emptied the queue already.
    if (m_hasFinishedWithError)
        return;
    m_pending.removeOne(request);
    delete request;
    if (!m_pending.isEmpty())
        startNextRequest();
}

void HttpClient::finishedWithError(const QString& text, Error code)
{
    if (m_pending.isEmpty())
        return;
    m_hasFinishedWithError = true;
    m_error = code;
    m_errorString = text;
    m_postDevice = nullptr;
    PrivateHttpRequest* request = m_pending.first();
    if (!request->finished) {
        request->finished = true;
        emit requestFinished(request->id, true);
    }
    // Whatever waited behind the failed request goes with it.
    const QList<PrivateHttpRequest*> doomed = m_pending;
    m_pending.clear();
    qDeleteAll(doomed);
}

void HttpClient::closeConn()
{
    if (m_state == Unconnected || m_state == Closing)
        return;
    m_postDevice = nullptr;
    setState(Closing);
    if (m_socket && m_socket->isOpen())
        m_socket->close();
    else
        queue(&HttpClient::slotDoFinished);
}

void HttpClient::abortWith(const QString& text, Error code)
{
    if (m_pending.isEmpty())
        return;
    finishedWithError(text, code);
    clearPendingRequests();
    if (m_socket)
        m_socket->abort();
    closeConn();
}

void HttpClient::abort()
{
    abortWith(tr("Request aborted"), Aborted);
}

void HttpClient::timeout()
{
    // An idle connection's watch fires too; only a waiting request cares.
    abortWith(tr("Request timeout"), RequestTimeoutError);
}
