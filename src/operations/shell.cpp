#include "operations/shell.h"

#include <QAtomicInt>
#include <QDateTime>
#include <QTimer>

#include "operations/abstractshelloperation.h"
#include "operations/operationhandler.h"
#include "operations/operationhandlerthread.h"
#include "operations/overwriteconfirmoperation.h"
#include "util/brindlelib.h"

namespace {
QAtomicInt _globalRunningOperationCount;
}

Shell::Shell(QObject* parent)
    : QObject(parent), m_checkTimer(new QTimer(this))
{
    qRegisterMetaType<AbstractOperation*>();
    qRegisterMetaType<AbstractShellOperation*>();
    qRegisterMetaType<OverwriteConfirmOperation*>();
    connect(this, &Shell::processBatch, this, &Shell::slotExecute, Qt::QueuedConnection);
    connect(this, &Shell::executeNextSignal, this, &Shell::executeNextOperation, Qt::QueuedConnection);
    connect(m_checkTimer, &QTimer::timeout, this, &Shell::checkForExecute);
    m_checkTimer->start(300);
}

Shell::~Shell()
{
    for (OperationHandlerThread* thread : std::as_const(m_handlers)) {
        stopHandler(thread);
        delete thread;
    }
}

int Shell::globalRunningOperationCount()
{
    return _globalRunningOperationCount.loadAcquire();
}

void Shell::setMaxConcurrentOperations(int count)
{
    m_maxConcurrentOperations = count;
}

void Shell::setLogEnabled(bool enabled)
{
    m_logEnabled = enabled;
    Q_EMIT handlerLogEnabled(enabled);
}

void Shell::execute(AbstractShellOperation* op)
{
    Q_EMIT processBatch(op);
}

void Shell::slotExecute(AbstractShellOperation* op)
{
    m_operations.append(op);
    executeNextOperation();
}

void Shell::changeRunning(int delta)
{
    m_runningOperations += delta;
    if (m_globalRunningIncrement)
        _globalRunningOperationCount.fetchAndAddOrdered(delta);
}

void Shell::countOut(AbstractShellOperation* top)
{
    changeRunning(1);
    top->addToRunningOperations(1);
}

void Shell::executeNextOperation()
{
    if (m_operations.isEmpty() || m_runningOperations >= capacity())
        return;
    updateHandlerList();
    int index = 0;
    while (index < m_operations.size() && m_runningOperations < capacity()) {
        AbstractShellOperation* top = m_operations.at(index);
        AbstractOperation* atomic = nullptr;
        if (!top->ignoreFlag() && !top->removeFlag())
            atomic = top->takeNextToExecute();
        if (!atomic) {
            ++index;
            continue;
        }
        // Stay with the same index: if settling the operation finished and
        // removed the top-level one, the next one has taken its place.
        dispatch(top, atomic);
    }
    wakeIdleHandlers();
    m_lastPass.start();
}

// With several handlers, as many operations again wait ready, so that a
// handler goes from one request to the next without waiting on this thread.
// A single handler keeps to one operation at a time: its order of requests
// stays that of the decisions.
int Shell::capacity() const
{
    return m_maxConcurrentOperations > 1 ? 2 * m_maxConcurrentOperations : m_maxConcurrentOperations;
}

void Shell::wakeIdleHandlers()
{
    int waiting = m_ready.size();
    for (OperationHandlerThread* thread : std::as_const(m_handlers)) {
        if (waiting == 0)
            return;
        if (!thread->handler()->isBusy()) {
            thread->handler()->wake();
            --waiting;
        }
    }
}

// Queues one atomic operation for the handlers, or settles it at once when it
// needs none.
void Shell::dispatch(AbstractShellOperation* top, AbstractOperation* atomic)
{
    if (atomic->skipFlag() || atomic->type() == AbstractOperation::DummyType) {
        countOut(top);
        processFinished(atomic);
        return;
    }
    if (atomic->type() == AbstractOperation::OverwriteConfirmType) {
        auto* confirm = static_cast<OverwriteConfirmOperation*>(atomic);
        const BrindleLib::OverwriteMode mode = top->overwriteMode();
        countOut(top);
        if (mode != BrindleLib::OverwriteAsk) {
            confirm->setOverwriteMode(mode);
            confirm->setState(AbstractOperation::FinishedState);
            processFinished(confirm);
        } else {
            confirm->setFreezed(true);
            confirm->setState(AbstractOperation::RunningState);
            confirm->setDateTime(QDateTime::currentDateTime().addSecs(BrindleLib::timeOffset()));
            Q_EMIT needOverwriteConfirmation(confirm);
        }
        return;
    }
    AbstractOperation* shellOp = atomic->firstShellOperation();
    atomic->setState(AbstractOperation::RunningState);
    m_ready.push(atomic);
    changeRunning(1);
    if (shellOp && static_cast<AbstractShellOperation*>(shellOp)->runningOperations() == 0)
        Q_EMIT shellOperationStarted(static_cast<AbstractShellOperation*>(shellOp));
    top->addToRunningOperations(1);
    emitOperationProgress(shellOp);
}

void Shell::processFinished(AbstractOperation* atomic)
{
    if (atomic->type() == AbstractOperation::DummyType)
        atomic->setState(AbstractOperation::FinishedState);
    auto* top = static_cast<AbstractShellOperation*>(atomic->topLevelOperation());
    top->addToRunningOperations(-1);
    AbstractOperation* shellOp = atomic->firstShellOperation();
    if (shellOp)
        emitOperationProgress(shellOp);
    if (top->isFinished())
        m_operations.removeOne(top);

    // Report every shell operation that this finish has completed, innermost first.
    OperationGroup* rememberedParent = nullptr;
    bool parentRemembered = false;
    for (AbstractOperation* current = shellOp; current;) {
        if (!current->isFinished())
            break;
        if (current->isShellOperation()) {
            rememberedParent = current->parent();
            parentRemembered = true;
            Q_EMIT shellOperationFinished(static_cast<AbstractShellOperation*>(current));
            if (!rememberedParent)
                break;
        } else if (!parentRemembered) {
            break;
        }
        current = current->parent();
    }
    changeRunning(-1);
}

void Shell::operationFinished(AbstractOperation* atomic)
{
    atomic->setState(AbstractOperation::FinishedState);
    processFinished(atomic);
    if (!m_operations.isEmpty())
        Q_EMIT executeNextSignal();
}

void Shell::overwriteConfirmation(OverwriteConfirmOperation* op)
{
    op->setFreezed(false);
    op->setState(AbstractOperation::FinishedState);
    processFinished(op);
}

void Shell::checkForExecute()
{
    if (m_operations.isEmpty())
        return;
    QList<AbstractShellOperation*> removed;
    for (AbstractShellOperation* op : std::as_const(m_operations)) {
        if (op->runningOperations() != 0)
            continue;
        if (op->ignoreFlag())
            op->setCanRetry(true);
        if (op->removeFlag())
            removed.append(op);
    }
    for (int i = removed.size() - 1; i >= 0; --i) {
        m_operations.removeOne(removed.at(i));
        Q_EMIT operationRemoved(removed.at(i)->uniqueId());
    }
    // Room matters, not idle handlers: a retry whose wait is over must not wait
    // on a long transfer as well.
    if (m_runningOperations < capacity() && (!m_lastPass.isValid() || m_lastPass.elapsed() > 199))
        executeNextOperation();
    wakeIdleHandlers();
}

void Shell::handlerOperationProgress(AbstractShellOperation* op)
{
    if (op)
        emitOperationProgress(op);
}

void Shell::emitOperationProgress(AbstractOperation* op)
{
    for (AbstractOperation* current = op; current; current = current->parent()) {
        if (current->isShellOperation())
            Q_EMIT operationProgress(current->uniqueId());
    }
}

void Shell::updateHandlerList()
{
    while (m_handlers.size() < m_maxConcurrentOperations)
        m_handlers.append(createHandler());
    while (m_handlers.size() > m_maxConcurrentOperations && !m_handlers.isEmpty()) {
        OperationHandlerThread* thread = m_handlers.takeFirst();
        if (!thread->handler()->isBusy())
            stopHandler(thread);
        thread->deleteLater();
    }
}

OperationHandlerThread* Shell::createHandler()
{
    auto* thread = new OperationHandlerThread;
    OperationHandler* handler = thread->handler();
    handler->setLogEnabled(m_logEnabled);
    handler->setReadyQueue(&m_ready);
    connect(handler, &OperationHandler::operationFinished, this, &Shell::operationFinished,
            Qt::QueuedConnection);
    connect(handler, &OperationHandler::handlerOperationProgress, this, &Shell::handlerOperationProgress,
            Qt::QueuedConnection);
    connect(this, &Shell::handlerLogEnabled, handler, &OperationHandler::setLogEnabled,
            Qt::QueuedConnection);
    thread->start(QThread::InheritPriority);
    return thread;
}

void Shell::stopHandler(OperationHandlerThread* thread)
{
    thread->quit();
    if (!thread->wait(5000))
        thread->terminate();
}
