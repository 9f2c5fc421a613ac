#ifndef HTTPCLIENT_H
#define HTTPCLIENT_H

#include <QAbstractSocket>
#include <QList>
#include <QNetworkProxy>
#include <QObject>
#include <QSslError>

#include "net/authenticator.h"
#include "net/httpheader.h"
#include "net/httprequestqueue.h"
#include "net/httpresponsebuffer.h"
#include "net/httpresponsereader.h"

class QIODevice;
class QTcpSocket;
class PrivateHttpRequest;

// An asynchronous HTTP/1.1 client driven by the signals of one socket. Requests are
// queued and sent one at a time over one kept-alive connection; a request body comes
// from memory or is pumped from a device in small pieces, and the response body goes
// to a device or to a block buffer that the owner empties on readyRead().
class HttpClient : public QObject
{
    Q_OBJECT
public:
    enum ConnectionMode { ConnectionModeHttp = 0, ConnectionModeHttps = 1 };

    enum State {
        Unconnected = 0,
        Connecting = 2,
        Sending = 3,
        Reading = 4,
        Connected = 5,
        Closing = 6
    };

    enum Error {
        NoError = 0,
        UnknownError = 1,
        HostNotFound = 2,
        ConnectionRefused = 3,
        UnexpectedClose = 4,
        InvalidResponseHeader = 5,
        WrongContentLength = 6,
        Aborted = 7,
        AuthenticationRequiredError = 8,
        ProxyAuthenticationRequiredError = 9,
        RequestTimeoutError = 10
    };

    explicit HttpClient(QObject* parent = nullptr);
    ~HttpClient() override;

    // Each returns the id of the queued entry.
    int setHost(const QString& host, ConnectionMode mode, int port = 0);
    int request(const HttpRequestHeader& header, QIODevice* data = nullptr,
                QIODevice* to = nullptr);
    int request(const HttpRequestHeader& header, const QByteArray& data, QIODevice* to = nullptr);
    int close();
    int closeConnection() { return close(); }

    void abort();
    // Caps the resends after a connection broken while sending (2 by default)
    // for the requests that start from now on.
    void setResendLimit(int limit) { m_resendLimit = limit; }
    void ignoreSslErrors();
    // A null socket makes the client create its own on first use.
    void setSock(QTcpSocket* socket);

    // The received body, when no destination device was given.
    qint64 read(char* data, qint64 maxlen);
    QByteArray readAll();
    qint64 bytesAvailable() const;

    State state() const { return m_state; }
    Error error() const { return m_error; }
    QString errorString() const { return m_errorString; }
    int currentId() const { return m_pending.currentId(); }
    HttpRequestHeader currentRequest() const { return m_pending.currentRequest(); }
    HttpResponseHeader lastResponse() const { return m_response; }
    bool hasPendingRequests() const { return m_pending.hasWaiting(); }
    void clearPendingRequests() { m_pending.dropWaiting(); }

Q_SIGNALS:
    void stateChanged(int state);
    // Twice per request: with its id and the head as queued, then with -1 and the
    // head as finally sent.
    void requestStarted(int id, const QByteArray& header);
    void requestFinished(int id, bool error);
    void responseHeaderReceived(const HttpResponseHeader& response);
    void readyRead(const HttpResponseHeader& response);
    void dataSendProgress(qint64 done, qint64 total);
    void dataReadProgress(qint64 done, qint64 total);
    void proxyAuthenticationRequired(const QNetworkProxy& proxy, Authenticator* authenticator);
    void authenticationRequired(const QString& hostname, int port, Authenticator* authenticator);
    void sslErrors(const QList<QSslError>& errors);

public Q_SLOTS:
    void timeout();

private Q_SLOTS:
    void startNextRequest();
    void slotSendRequest();
    void slotConnected();
    void slotClosed();
    void slotReadyRead();
    void slotError(QAbstractSocket::SocketError error);
    void slotBytesWritten(qint64 bytes);
    void slotSslErrors(const QList<QSslError>& errors);
    void slotDoFinished();
    void continuePost();

private:
    friend class PrivateHttpNormalRequest;
    friend class PrivateHttpSetHostRequest;
    friend class JHttpCloseRequest;

    int addRequest(PrivateHttpRequest* request);
    void setState(State state) { m_state = state; }
    void finishedWithSuccess();
    void finishedWithError(const QString& text, Error code);
    void abortWith(const QString& text, Error code);
    void closeConn();
    void postMoreData();
    void queue(void (HttpClient::*slot)());

    bool readResponseHead();
    bool handleProxyAuthentication();
    void resendWithBody();
    bool readBody(QByteArray& data, bool& complete);
    void deliver(const QByteArray& data);
    bool hasBody() const;
    qint64 bytesToWrite() const;

    QTcpSocket* m_socket = nullptr;
    bool m_ownsSocket = false;
    int m_reconnectAttempts = 2;
    int m_resendLimit = 2;
    HttpRequestQueue m_pending;
    State m_state = Unconnected;
    State m_stateBeforeReading = Unconnected;
    Error m_error = NoError;
    QString m_errorString;

    QString m_hostName;
    int m_port = 0;
    ConnectionMode m_mode = ConnectionModeHttp;

    QByteArray m_buffer;
    QIODevice* m_toDevice = nullptr;
    QIODevice* m_postDevice = nullptr;
    qint64 m_bytesDone = 0;
    qint64 m_bytesTotal = 0;

    HttpRequestHeader m_header;
    HttpResponseHeader m_response;
    bool m_readHeader = false;
    HttpResponseReader m_reader;
    HttpResponseBuffer m_responseBuffer;

    Authenticator m_proxyAuthenticator;
    bool m_repost = false;
    bool m_hasFinishedWithError = false;
    bool m_pendingPost = false;
    bool m_withoutBody = false;  // this send leaves the body for the next one
    QList<QSslError> m_sslErrors;
};

#endif
