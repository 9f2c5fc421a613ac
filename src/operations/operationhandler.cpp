#include "operations/operationhandler.h"

#include <QDomDocument>
#include <QIODevice>
#include <QTimer>

#include "operations/abstractwebserviceoperation.h"
#include "items/abstractaccount.h"
#include "net/httpclient.h"
#include "operations/abstractlocaloperation.h"
#include "operations/abstractshelloperation.h"
#include "operations/retrypolicy.h"
#include "operations/localoperationrunner.h"
#include "operations/operationhandlerthread.h"
#include "util/brindlelib.h"

namespace {
// At most one progress report per this many milliseconds.
const int global_progressInterval = 300;

bool isErrorStatus(int status)
{
    return status >= 400 && status <= 599;
}
} // namespace

OperationHandler::OperationHandler(QObject* parent)
    : QObject(parent), m_progressTimer(new QTimer(this))
{
    qRegisterMetaType<AbstractOperation*>();
    qRegisterMetaType<AbstractShellOperation*>();
    qRegisterMetaType<AbstractLocalOperation*>();
    qRegisterMetaType<AbstractWebServiceOperation*>();
    qRegisterMetaType<HttpResponseHeader>();
    m_progressTimer->setSingleShot(true);
    m_progressTimer->setInterval(global_progressInterval);
    connect(m_progressTimer, &QTimer::timeout, this, &OperationHandler::emitOperationProgress);
    // Signals emitted from other threads reach the handler's own thread queued.
    connect(this, &OperationHandler::wakeRequest, this, &OperationHandler::takeNext, Qt::QueuedConnection);
    connect(this, &OperationHandler::abortRequest, this, &OperationHandler::abortCurrentOp,
            Qt::QueuedConnection);
}

OperationHandler::~OperationHandler() = default;

HttpClient* OperationHandler::httpClient()
{
    if (m_httpClient)
        return m_httpClient;
    // Made here rather than in the constructor: the handler is built on the
    // main thread, and the client's socket belongs to the handler's thread.
    m_httpClient = new HttpClient(this);
    connect(m_httpClient, &HttpClient::requestStarted, this, &OperationHandler::httpRequestStarted);
    connect(m_httpClient, &HttpClient::requestFinished, this, &OperationHandler::httpRequestFinished);
    connect(m_httpClient, &HttpClient::responseHeaderReceived, this,
            &OperationHandler::httpResponseHeaderReceived);
    connect(m_httpClient, &HttpClient::readyRead, this, &OperationHandler::readData);
    connect(m_httpClient, &HttpClient::dataSendProgress, this, &OperationHandler::dataSendProgress);
    return m_httpClient;
}

void OperationHandler::execute(AbstractOperation* op)
{
    m_ready->push(op);
    wake();
}

void OperationHandler::wake() { Q_EMIT wakeRequest(); }

// Only this thread sets the current operation, so the check and the take
// need no common lock: a wake that finds the handler busy or the queue empty
// does nothing.
void OperationHandler::takeNext()
{
    if (currentOperation())
        return;
    if (AbstractOperation* op = m_ready->pop())
        start(op);
}

void OperationHandler::start(AbstractOperation* op)
{
    setCurrentOperation(op);
    op->setHandler(this);
    // Local work yields to transfers; a change of priority is a system call, made
    // only when the kind of work changes.
    const QThread::Priority priority = op->isLocalOperation() ? QThread::LowPriority : QThread::NormalPriority;
    auto* thread = qobject_cast<OperationHandlerThread*>(QThread::currentThread());
    if (thread && thread->priority() != priority)
        thread->setPriority(priority);
    if (op->isLocalOperation())
        slotExecuteLocalOperation(static_cast<AbstractLocalOperation*>(op));
    else
        slotExecuteWsOperation(static_cast<AbstractWebServiceOperation*>(op));
}

void OperationHandler::setCurrentOperation(AbstractOperation* op) { lockedWrite(m_mutex, m_currentOp, op); }

bool OperationHandler::isBusy() const
{
    FastMutexLocker locker(m_mutex);
    return m_currentOp != nullptr;
}

AbstractOperation* OperationHandler::currentOperation() const { return lockedRead(m_mutex, m_currentOp); }

bool OperationHandler::isLogEnabled() const
{
    return m_logEnabled.loadAcquire() != 0;
}

void OperationHandler::setLogEnabled(bool enabled)
{
    m_logEnabled.storeRelease(enabled ? 1 : 0);
}

void OperationHandler::abort()
{
    m_abortFlag.storeRelease(1);
    Q_EMIT abortRequest();
}

bool OperationHandler::abortRequested() const
{
    return m_abortFlag.loadAcquire() != 0;
}

void OperationHandler::abortCurrentOp()
{
    if (m_httpClient)
        m_httpClient->abort();
}

void OperationHandler::logOperation(AbstractOperation* op, const QByteArray& text)
{
    if (isLogEnabled())
        op->addLog(text);
}

void OperationHandler::finishOperation(AbstractOperation* op)
{
    m_abortFlag.storeRelease(0);
    // Idle before the shell hears of it: the queued signal may be handled on the
    // shell's thread before this one runs on, and a pass that found this handler
    // still busy would leave the next operation to the 300 ms safety net.
    setCurrentOperation(nullptr);
    Q_EMIT operationFinished(op);
    // Queued, so that the next request starts after the client's callbacks
    // of this one have returned.
    Q_EMIT wakeRequest();
}

void OperationHandler::slotExecuteLocalOperation(AbstractLocalOperation* op)
{
    if (isLogEnabled())
        op->addLog("\n*** Operation: " + op->name().toUtf8() + " ***\n");
    LocalOperationRunner runner(op, isLogEnabled(), &m_abortFlag);
    runner.run();
    finishOperation(op);
}

void OperationHandler::slotExecuteWsOperation(AbstractWebServiceOperation* op)
{
    m_sentBytes = 0;
    logOperation(op, "\n*** Operation: " + op->name().toUtf8() + " ***");
    // An operation whose body can't be prepared has set its error already.
    if (!op->initializeRequestDataDevice()) {
        finishOperation(op);
        return;
    }
    // Every request's date comes from here, so a corrected clock counts at once.
    op->setDateTime(QDateTime::currentDateTimeUtc().addSecs(BrindleLib::timeOffset()));
    op->makeRequestHeader();
    const HttpRequestHeader header = op->httpRequestHeader();
    connectTo(op, header.url());
    httpClient()->setResendLimit(RetryPolicy::clientResendsLeft(op));
    m_requestId = httpClient()->request(header, op->requestDataDevice(), nullptr);
    logRequestDescription(op);
}

void OperationHandler::connectTo(AbstractWebServiceOperation* op, const QUrl& target)
{
    const QString host = target.host();
    const int port = target.port();
    if (host == m_lastHost && port == m_lastPort)
        return;
    m_lastHost = host;
    m_lastPort = port;
    // The first request to a host fixes the protocol of the connection.
    const bool https = op->isStorageOperation()
        && op->account()->protocol() == BrindleLib::ProtocolHttps;
    httpClient()->setHost(host, https ? HttpClient::ConnectionModeHttps : HttpClient::ConnectionModeHttp,
                          port);
}

void OperationHandler::logRequestDescription(AbstractWebServiceOperation* op)
{
    if (!isLogEnabled() || !op->isStorageOperation())
        return;
    QByteArray text = op->stringToSign();
    if (text.isNull())
        return;
    // Each line end shown as it is signed, then a real one to read it by.
    text.replace("\n", "\\n\n");
    op->addLog("\nRequest description\n===================\n");
    op->addLog(text + "\n\n");
}

AbstractWebServiceOperation* OperationHandler::currentWebOperation() const
{
    // A late signal of an aborted request must not reach a local operation.
    AbstractOperation* op = currentOperation();
    if (!op || !op->isWebServiceOperation() || m_requestId == 0)
        return nullptr;
    return static_cast<AbstractWebServiceOperation*>(op);
}

void OperationHandler::httpRequestStarted(int id, const QByteArray& header)
{
    AbstractWebServiceOperation* op = currentWebOperation();
    // The second report of each send, the client's own resends included.
    if (op && id == -1)
        op->setSendCount(op->sendCount() + 1);
    if (!op || id != m_requestId || !isLogEnabled())
        return;
    logHead(op, header, "> ");
    const QByteArray body = op->requestData();
    if (!body.isNull())
        logBody(op, "\nRequest body\n============", body);
}

void OperationHandler::httpResponseHeaderReceived(const HttpResponseHeader& header)
{
    AbstractWebServiceOperation* op = currentWebOperation();
    if (!op)
        return;
    op->setHttpResponseHeader(header);
    if (op->ignoreFlag())
        Q_EMIT abortRequest();
    if (isLogEnabled())
        logHead(op, header.toByteArray(), "< ");
    op->initializeResponseDataDevice();
}

void OperationHandler::readData(const HttpResponseHeader& header)
{
    AbstractWebServiceOperation* op = currentWebOperation();
    if (!op)
        return;
    // A download that failed on its file stops the transfer at the next block.
    if (!op->error().isNull()) {
        abortCurrentOp();
        return;
    }
    const QByteArray data = httpClient()->readAll();
    op->dataReceived(data);
    // An error document is collected but is no progress.
    if (op->transferType() == AbstractWebServiceOperation::DownloadTransfer
        && !isErrorStatus(header.statusCode())) {
        op->addToTransferProgress(data.size());
        startProgressTimer();
    }
    if (op->ignoreFlag())
        Q_EMIT abortRequest();
}

void OperationHandler::dataSendProgress(qint64, qint64)
{
    AbstractWebServiceOperation* op = currentWebOperation();
    if (!op)
        return;
    if (op->transferType() == AbstractWebServiceOperation::UploadTransfer) {
        catchUpUploadProgress(op);
        startProgressTimer();
    }
    if (op->ignoreFlag())
        Q_EMIT abortRequest();
}

void OperationHandler::catchUpUploadProgress(AbstractWebServiceOperation* op)
{
    // Measured against the device, so that a resent body doesn't count twice.
    if (QIODevice* device = op->requestDataDevice())
        op->addToTransferProgress(device->pos() - op->transferProgress());
}

void OperationHandler::startProgressTimer()
{
    if (!m_progressTimer->isActive())
        m_progressTimer->start();
}

void OperationHandler::emitOperationProgress()
{
    AbstractOperation* op = currentOperation();
    if (!op)
        return;
    if (AbstractOperation* shell = op->firstShellOperation())
        Q_EMIT handlerOperationProgress(static_cast<AbstractShellOperation*>(shell));
    if (op->ignoreFlag())
        Q_EMIT abortRequest();
}

void OperationHandler::httpRequestFinished(int id, bool failed)
{
    AbstractWebServiceOperation* op = currentWebOperation();
    if (!op || id != m_requestId)
        return;
    if (failed) {
        failRequest(op, int(httpClient()->error()), httpClient()->errorString());
    } else if (!hasFinalAnswer(op)) {
        // The connection went before a final status: whatever was asked of the
        // store may not have happened, so this is no success.
        failed = true;
        failRequest(op, HttpClient::UnexpectedClose, QStringLiteral("Server closed connection unexpectedly"));
    } else {
        if (op->transferType() == AbstractWebServiceOperation::UploadTransfer)
            catchUpUploadProgress(op);
        op->processResponseData();
    }
    op->requestFinished();
    if (isLogEnabled() && !failed) {
        const QByteArray body = op->responseData();
        if (!body.isEmpty())
            logBody(op, "\nResponse body\n=============", body);
    }
    m_requestId = 0;
    QIODevice* device = op->requestDataDevice();
    if (device && device->isOpen())
        device->close();
    m_progressTimer->stop();
    finishOperation(op);
}

void OperationHandler::failRequest(AbstractWebServiceOperation* op, int code, const QString& text)
{
    logOperation(op, "HTTP Error : (" + QByteArray::number(code) + ") " + text.toUtf8());
    op->setError(networkError(op, code, text));
}

// An interim "100 Continue" is kept as the operation's answer until the real
// one comes, so a valid head alone proves nothing.
bool OperationHandler::hasFinalAnswer(AbstractWebServiceOperation* op)
{
    const HttpResponseHeader header = op->httpResponseHeader();
    return header.isValid() && header.statusCode() >= 200;
}

OpError OperationHandler::networkError(AbstractOperation* op, int code, const QString& text)
{
    QString message = QStringLiteral("Operation: ");
    QString path;
    if (AbstractOperation* found = op->firstShellOperation()) {
        const auto* shell = static_cast<AbstractShellOperation*>(found);
        message += shell->name();
        const QString source = shell->sourceDisplayPath();
        const QString destination = shell->destinationDisplayPath();
        if (!source.isEmpty() && !destination.isEmpty())
            path = source + QStringLiteral(" -> ") + destination;
        else
            path = source.isEmpty() ? destination : source;
    }
    message += QLatin1Char('\n') + path + QLatin1Char('\n') + text;
    return OpError(OpError::NetworkError, QString::number(code), message, QString());
}

void OperationHandler::logHead(AbstractOperation* op, const QByteArray& head, const QByteArray& prefix)
{
    QByteArray text = head;
    if (text.endsWith("\r\n"))
        text.chop(2);
    text.replace("\r\n", "\n");
    QByteArray lines;
    for (const QByteArray& line : text.split('\n'))
        lines += (lines.isEmpty() ? QByteArray() : QByteArray("\n")) + prefix + line;
    op->addLog(lines);
}

void OperationHandler::logBody(AbstractOperation* op, const QByteArray& heading, const QByteArray& body)
{
    op->addLog(heading);
    // Only XML is shown: a binary body would make the log unreadable.
    QDomDocument document;
    if (document.setContent(body))
        op->addLog(document.toString(1).toUtf8() + "\n");
}
