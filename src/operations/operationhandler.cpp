#include "operations/operationhandler.h"

#include "cloud/abstractwebserviceoperation.h"
#include "operations/abstractlocaloperation.h"
#include "operations/abstractshelloperation.h"
#include "operations/localoperationrunner.h"

OperationHandler::OperationHandler(QObject* parent)
    : QObject(parent)
{
    qRegisterMetaType<AbstractOperation*>();
    qRegisterMetaType<AbstractShellOperation*>();
    qRegisterMetaType<AbstractLocalOperation*>();
    qRegisterMetaType<AbstractWebServiceOperation*>();
    // Signals emitted from other threads reach the handler's own thread queued.
    connect(this, &OperationHandler::executeWSOperation, this, &OperationHandler::slotExecuteWsOperation,
            Qt::QueuedConnection);
    connect(this, &OperationHandler::executeLocalOperation, this,
            &OperationHandler::slotExecuteLocalOperation, Qt::QueuedConnection);
    connect(this, &OperationHandler::abortRequest, this, &OperationHandler::abortCurrentOp,
            Qt::QueuedConnection);
}

OperationHandler::~OperationHandler() = default;

void OperationHandler::execute(AbstractOperation* op)
{
    setCurrentOperation(op);
    op->setHandler(this);
    if (op->isLocalOperation())
        Q_EMIT executeLocalOperation(static_cast<AbstractLocalOperation*>(op));
    else
        Q_EMIT executeWSOperation(static_cast<AbstractWebServiceOperation*>(op));
}

void OperationHandler::setCurrentOperation(AbstractOperation* op)
{
    FastMutexLocker locker(m_mutex);
    m_currentOp = op;
}

bool OperationHandler::isBusy() const
{
    FastMutexLocker locker(m_mutex);
    return m_currentOp != nullptr;
}

AbstractOperation* OperationHandler::currentOperation() const
{
    FastMutexLocker locker(m_mutex);
    return m_currentOp;
}

int OperationHandler::lastShellOpeationId() const
{
    FastMutexLocker locker(m_mutex);
    return m_lastShellOperationId;
}

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
}

void OperationHandler::logOperation(AbstractOperation* op, const QByteArray& text)
{
    if (isLogEnabled())
        op->addLog(text);
}

void OperationHandler::finishOperation(AbstractOperation* op)
{
    m_abortFlag.storeRelease(0);
    Q_EMIT operationFinished(op);
    setCurrentOperation(nullptr);
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
    finishOperation(op);
}
