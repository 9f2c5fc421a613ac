#include "operations/abstractshelloperation.h"

AbstractShellOperation::AbstractShellOperation(OperationGroup* parent)
    : OperationGroup(parent)
{
}

void AbstractShellOperation::append(AbstractOperation* op)
{
    if (op->isShellOperation()) {
        FastMutexLocker locker(m_shellMutex);
        m_hasShellChild = true;
    }
    OperationGroup::append(op);
}

bool AbstractShellOperation::hasShellChild() const
{
    FastMutexLocker locker(m_shellMutex);
    return m_hasShellChild;
}

int AbstractShellOperation::runningOperations() const
{
    return m_runningOperations.loadAcquire();
}

void AbstractShellOperation::addToRunningOperations(int n)
{
    m_runningOperations.fetchAndAddOrdered(n);
}

bool AbstractShellOperation::commandLineShowTag() const
{
    FastMutexLocker locker(m_shellMutex);
    return m_commandLineShowTag;
}

void AbstractShellOperation::setCommandLineShowTag(bool shown)
{
    FastMutexLocker locker(m_shellMutex);
    m_commandLineShowTag = shown;
}
