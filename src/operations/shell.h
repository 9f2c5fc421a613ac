#ifndef SHELL_H
#define SHELL_H

#include <QElapsedTimer>
#include <QList>
#include <QObject>

#include "operations/readyqueue.h"

class AbstractOperation;
class AbstractShellOperation;
class OperationHandler;
class OperationHandlerThread;
class OverwriteConfirmOperation;
class QTimer;

// The scheduler. Lives on the main thread: asks its top-level operations for
// atomic work, hands it to free handlers, takes the results back. All
// decisions of the operation tree are made here, on one thread.
class Shell : public QObject
{
    Q_OBJECT

public:
    explicit Shell(QObject* parent = nullptr);
    ~Shell() override;

    void setMaxConcurrentOperations(int count);
    int maxConcurrentOperations() const { return m_maxConcurrentOperations; }
    void setGlobalRunningIncrement(bool on) { m_globalRunningIncrement = on; }
    void setLogEnabled(bool enabled);
    // Takes no ownership: the root belongs to whoever made it.
    void execute(AbstractShellOperation* op);

    int handlerCount() const { return m_handlers.size(); }
    static int globalRunningOperationCount();

Q_SIGNALS:
    void shellOperationStarted(AbstractShellOperation* op);
    void shellOperationFinished(AbstractShellOperation* op);
    void operationProgress(int uniqueId);
    void operationRemoved(int uniqueId);
    void needOverwriteConfirmation(OverwriteConfirmOperation* op);
    void handlerLogEnabled(bool enabled);
    void processBatch(AbstractShellOperation* op);
    void executeNextSignal();
    void noOperation();

public Q_SLOTS:
    void slotExecute(AbstractShellOperation* op);
    void executeNextOperation();
    void checkForExecute();
    void operationFinished(AbstractOperation* op);
    void handlerOperationProgress(AbstractShellOperation* op);
    void overwriteConfirmation(OverwriteConfirmOperation* op);

private:
    void dispatch(AbstractShellOperation* top, AbstractOperation* atomic);
    void countOut(AbstractShellOperation* top);
    void changeRunning(int delta);
    void processFinished(AbstractOperation* atomic);
    // Capacity for atomic operations at once: those the handlers carry out and
    // those ready for the next handler to come free.
    int capacity() const;
    // Each queued operation gets one idle handler to take it.
    void wakeIdleHandlers();
    void updateHandlerList();
    OperationHandlerThread* createHandler();
    static void stopHandler(OperationHandlerThread* thread);
    void emitOperationProgress(AbstractOperation* op);

    QList<OperationHandlerThread*> m_handlers;
    ReadyQueue m_ready;
    QList<AbstractShellOperation*> m_operations;
    int m_runningOperations = 0;
    QElapsedTimer m_lastPass;
    QTimer* m_checkTimer;
    int m_maxConcurrentOperations = 4;
    bool m_logEnabled = false;
    bool m_globalRunningIncrement = false;
};

#endif
