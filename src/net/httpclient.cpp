#include "net/httpclient.h"

#include <QSslSocket>

#include "net/privatehttprequest.h"
#include "net/proxyenvironment.h"
#include "net/tcpsocket.h"
#include "net/tlssettings.h"

namespace {
// Each piece waits for the last to leave: 2 KiB pieces cost an event-loop pass each.
const qint64 global_postPieceSize = 65536;
// Bounds what a download holds between the socket and the file.
const qint64 global_socketReadBufferSize = 1024 * 1024;
} // namespace

// Only the socket's inactivity watch ends a request that gets no answer, held-back body included.
HttpClient::HttpClient(QObject* parent) : QObject(parent) {}

HttpClient::~HttpClient()
{
    if (m_socket) {
        m_socket->disconnect(this);
        if (m_ownsSocket)
            delete m_socket;
    }
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

int HttpClient::addRequest(PrivateHttpRequest* request)
{
    if (m_pending.append(request))
        queue(&HttpClient::startNextRequest);
    return request->id;
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
        socket = QSslSocket::supportsSsl() ? static_cast<QTcpSocket*>(new SslSocket(this)) : new TcpSocket(this);
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
        connect(ssl, &QSslSocket::encryptedBytesWritten, this, [this] { postMoreData(); });
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
    const QByteArray data = m_responseBuffer.takeAll();
    m_bytesDone += data.size();
    return data;
}

qint64 HttpClient::bytesAvailable() const
{
    return m_responseBuffer.size();
}

void HttpClient::startNextRequest()
{
    PrivateHttpRequest* request = m_pending.current();
    if (!request)
        return;
    m_error = NoError;
    m_errorString = QStringLiteral("Unknown error");
    m_responseBuffer.clear();

    const int id = request->id;
    emit requestStarted(id, request->toByteArray());
    // The owner may have aborted from the signal.
    if (m_pending.currentId() != id)
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

    bool inTheClearViaProxy = false;
    const QNetworkProxy proxy = ProxyEnvironment::route(m_hostName, encrypted, &inTheClearViaProxy);
    if (!proxy.password().isEmpty())
        m_proxyAuthenticator.setCredentials(proxy.user(), proxy.password());

    m_withoutBody = false;
    if (inTheClearViaProxy) {
        m_withoutBody = m_proxyAuthenticator.authorizeProxyRequest(m_header);
        if (m_withoutBody)
            m_postDevice = nullptr;
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
        if (m_header.field("expect").value().toLower().contains("100-continue"))
            m_pendingPost = true;
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

    const qint64 wanted = qBound<qint64>(0, m_postDevice->size() - m_postDevice->pos(), global_postPieceSize);
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
        m_reader.reset();
        m_bytesDone = 0;
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
        if (!m_reader.readHead(m_socket))
            return false;

        m_response = HttpResponseHeader(m_reader.takeHead());
        if (!m_response.isValid()) {
            finishedWithError(QStringLiteral("Invalid HTTP response header"), InvalidResponseHeader);
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
        m_pendingPost = false;
        m_readHeader = false;
        m_reader.beginBody(m_response);
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
    if (m_repost) // only drained before a resend: taken whole, past the read limit
        m_socket->setReadBufferSize(0);
    const HttpResponseReader::BodyResult result =
        m_reader.readBody(m_socket, m_response, m_bytesDone, bytesAvailable(), m_repost, data, complete);
    if (result == HttpResponseReader::BodyInvalid) {
        data.clear();
        finishedWithError(QStringLiteral("Invalid HTTP chunked body"), WrongContentLength);
        closeConn();
    }
    return result == HttpResponseReader::BodyRead;
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
        emit proxyAuthenticationRequired(QNetworkProxy::applicationProxy(), &m_proxyAuthenticator);
        m_socket->blockSignals(false);
        if (m_proxyAuthenticator.phase() == Authenticator::Done) {
            finishedWithError(QStringLiteral("Proxy authentication required"), ProxyAuthenticationRequiredError);
            closeConn();
            return false;
        }
    }
    if (m_proxyAuthenticator.phase() == Authenticator::Invalid) {
        finishedWithError(QStringLiteral("Unknown authentication method"), AuthenticationRequiredError);
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
    QIODevice* source = m_pending.current() ? m_pending.current()->sourceDevice() : nullptr;
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
        finishedWithError(QStringLiteral("Server closed connection unexpectedly"), UnexpectedClose);
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
        finishedWithError(QStringLiteral("Host %1 not found").arg(m_socket->peerName()), HostNotFound);
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
            finishedWithError(QStringLiteral("Server closed connection unexpectedly"), UnexpectedClose);
        break;
    default: finishedWithError(QStringLiteral("HTTP request failed"), UnknownError);
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
    PrivateHttpRequest* request = m_pending.current();
    if (!request || request->finished)
        return;
    request->finished = true;
    m_hasFinishedWithError = false;
    // The body's owner may free it as soon as it hears of the end.
    m_postDevice = nullptr;
    emit requestFinished(request->id, false);
    // An abort from the signal has emptied the queue already.
    if (m_hasFinishedWithError)
        return;
    m_pending.remove(request);
    if (!m_pending.isEmpty())
        startNextRequest();
}

void HttpClient::finishedWithError(const QString& text, Error code)
{
    PrivateHttpRequest* request = m_pending.current();
    if (!request)
        return;
    m_hasFinishedWithError = true;
    m_error = code;
    m_errorString = text;
    m_postDevice = nullptr;
    if (!request->finished) {
        request->finished = true;
        emit requestFinished(request->id, true);
    }
    // Whatever waited behind the failed request goes with it.
    m_pending.clear();
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
