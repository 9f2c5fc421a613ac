#ifndef OPERATIONHANDLER_H
#define OPERATIONHANDLER_H

#include <QAtomicInt>
#include <QObject>
#include <QString>

#include "operations/readyqueue.h"
#include "util/operror.h"
#include "util/fastmutex.h"

class AbstractLocalOperation;
class AbstractOperation;
class AbstractShellOperation;
class AbstractWebServiceOperation;
class HttpClient;
class HttpResponseHeader;
class QTimer;

// Carries out one atomic operation at a time on its own thread. Work comes
// from a ready queue, its own or one shared with other handlers; when an
// operation ends the handler takes the next one at once and the result goes
// back to the main thread by operationFinished. Web operations go through one HTTP
// client that is kept across requests, so that consecutive requests to the
// same host and port share a connection.
class OperationHandler : public QObject
{
    Q_OBJECT

public:
    explicit OperationHandler(QObject* parent = nullptr);
    ~OperationHandler() override;

    // Queues op and wakes the handler.
    void execute(AbstractOperation* op);
    // Called before the thread starts: the queue to take work from.
    void setReadyQueue(ReadyQueue* queue) { m_ready = queue; }
    // Thread-safe: takes the next ready operation if the handler is idle.
    void wake();
    bool isBusy() const;
    AbstractOperation* currentOperation() const;
    bool isLogEnabled() const;
    // Thread-safe: asks the work in hand to stop as soon as it can.
    void abort();

    // The error of a failed transfer, as the console shows it: the shell
    // operation, its paths, then the client's text; code is the client's number.
    static OpError networkError(AbstractOperation* op, int code, const QString& text);

Q_SIGNALS:
    void wakeRequest();
    void operationFinished(AbstractOperation* op);
    void handlerOperationProgress(AbstractShellOperation* op);
    void abortRequest();

public Q_SLOTS:
    void takeNext();
    void slotExecuteWsOperation(AbstractWebServiceOperation* op);
    void slotExecuteLocalOperation(AbstractLocalOperation* op);
    void httpRequestStarted(int id, const QByteArray& header);
    void httpRequestFinished(int id, bool failed);
    void httpResponseHeaderReceived(const HttpResponseHeader& header);
    void readData(const HttpResponseHeader& header);
    void dataSendProgress(qint64 done, qint64 total);
    void emitOperationProgress();
    void abortCurrentOp();
    void setLogEnabled(bool enabled);

protected:
    // True once abort() was called during the current operation.
    bool abortRequested() const;
    void finishOperation(AbstractOperation* op);
    void logOperation(AbstractOperation* op, const QByteArray& text);

private:
    void setCurrentOperation(AbstractOperation* op);
    void start(AbstractOperation* op);
    // The client of this handler, made on first use on the handler's thread.
    HttpClient* httpClient();
    // Points the client at the target's host and port if they changed.
    void connectTo(AbstractWebServiceOperation* op, const QUrl& target);
    // The web operation whose request is under way, or null.
    AbstractWebServiceOperation* currentWebOperation() const;
    // Counts an upload's bytes up to the position of its body device.
    void catchUpUploadProgress(AbstractWebServiceOperation* op);
    void startProgressTimer();
    void logRequestDescription(AbstractWebServiceOperation* op);
    // A message head, one line after the other, each with prefix in front.
    void logHead(AbstractOperation* op, const QByteArray& head, const QByteArray& prefix);
    // A heading and, if the body is XML, the body indented.
    void logBody(AbstractOperation* op, const QByteArray& heading, const QByteArray& body);
    void failRequest(AbstractWebServiceOperation* op, int code, const QString& text);
    static bool hasFinalAnswer(AbstractWebServiceOperation* op);

    HttpClient* m_httpClient = nullptr;
    QString m_lastHost;
    int m_lastPort = 0;
    qint64 m_sentBytes = 0;
    QTimer* m_progressTimer;
    AbstractOperation* m_currentOp = nullptr;
    ReadyQueue m_ownQueue;
    ReadyQueue* m_ready = &m_ownQueue;
    mutable FastMutex m_mutex;
    int m_requestId = 0;
    QAtomicInt m_logEnabled;
    QAtomicInt m_abortFlag;
};

#endif
