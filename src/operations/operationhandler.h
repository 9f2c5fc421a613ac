#ifndef OPERATIONHANDLER_H
#define OPERATIONHANDLER_H

#include <QAtomicInt>
#include <QObject>

#include "util/fastmutex.h"

class AbstractLocalOperation;
class AbstractOperation;
class AbstractShellOperation;
class AbstractWebServiceOperation;

// Carries out one atomic operation at a time on its own thread. The shell
// calls execute() from the main thread; the work arrives here queued and the
// result goes back by operationFinished.
class OperationHandler : public QObject
{
    Q_OBJECT

public:
    explicit OperationHandler(QObject* parent = nullptr);
    ~OperationHandler() override;

    void execute(AbstractOperation* op);
    bool isBusy() const;
    AbstractOperation* currentOperation() const;
    int lastShellOpeationId() const;
    bool isLogEnabled() const;
    // Thread-safe: asks the work in hand to stop as soon as it can.
    void abort();

Q_SIGNALS:
    void executeWSOperation(AbstractWebServiceOperation* op);
    void executeLocalOperation(AbstractLocalOperation* op);
    void operationFinished(AbstractOperation* op);
    void handlerOperationProgress(AbstractShellOperation* op);
    void abortRequest();

public Q_SLOTS:
    void slotExecuteWsOperation(AbstractWebServiceOperation* op);
    void slotExecuteLocalOperation(AbstractLocalOperation* op);
    void abortCurrentOp();
    void setLogEnabled(bool enabled);

protected:
    // True once abort() was called during the current operation.
    bool abortRequested() const;
    void finishOperation(AbstractOperation* op);
    void logOperation(AbstractOperation* op, const QByteArray& text);

private:
    void setCurrentOperation(AbstractOperation* op);

    int m_lastShellOperationId = -1;
    AbstractOperation* m_currentOp = nullptr;
    mutable FastMutex m_mutex;
    QAtomicInt m_logEnabled;
    QAtomicInt m_abortFlag;
};

#endif
