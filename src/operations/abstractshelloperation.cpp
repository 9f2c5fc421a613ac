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

bool AbstractShellOperation::hasShellChild() const { return lockedRead(m_shellMutex, m_hasShellChild); }

int AbstractShellOperation::runningOperations() const
{
    return m_runningOperations.loadAcquire();
}

void AbstractShellOperation::addToRunningOperations(int n)
{
    m_runningOperations.fetchAndAddOrdered(n);
}

bool AbstractShellOperation::commandLineShowTag() const { return lockedRead(m_shellMutex, m_commandLineShowTag); }
void AbstractShellOperation::setCommandLineShowTag(bool shown) { lockedWrite(m_shellMutex, m_commandLineShowTag, shown); }
