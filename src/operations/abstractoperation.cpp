#include "operations/abstractoperation.h"

#include "operations/operationgroup.h"

QAtomicInt AbstractOperation::global_uniqueId;

AbstractOperation::AbstractOperation()
    : m_uniqueId(global_uniqueId.fetchAndAddOrdered(1) + 1)
{
}

AbstractOperation::~AbstractOperation() = default;

AbstractOperation* AbstractOperation::clone(OperationGroup*) const
{
    return nullptr;
}

void AbstractOperation::setState(OperationState state)
{
    OperationState old;
    OperationGroup* group;
    {
        FastMutexLocker locker(m_mutex);
        if (m_state == state)
            return;
        old = m_state;
        m_state = state;
        group = m_parent;
    }
    if (group)
        group->notifyStateChanged(old, state, this);
}

AbstractOperation::OperationState AbstractOperation::state() const { return lockedRead(m_mutex, m_state); }

void AbstractOperation::setError(const OpError& error)
{
    OperationGroup* group;
    {
        FastMutexLocker locker(m_mutex);
        m_errors.append(error);
        m_hasOwnError = true;
        group = m_parent;
    }
    if (group)
        group->addChildrenError(error);
}

void AbstractOperation::addChildrenError(const OpError& error)
{
    OperationGroup* group;
    {
        FastMutexLocker locker(m_mutex);
        m_errors.append(error);
        group = m_parent;
    }
    if (group)
        group->addChildrenError(error);
}

void AbstractOperation::removeError()
{
    OpError taken;
    OperationGroup* group;
    {
        FastMutexLocker locker(m_mutex);
        if (!m_hasOwnError || m_errors.isEmpty())
            return;
        taken = m_errors.takeFirst();
        m_hasOwnError = false;
        group = m_parent;
    }
    if (group)
        group->removeError(taken.errorId());
}

void AbstractOperation::removeError(int errorId)
{
    OperationGroup* group;
    {
        FastMutexLocker locker(m_mutex);
        for (int i = 0; i < m_errors.size(); ++i) {
            if (m_errors.at(i).errorId() == errorId) {
                m_errors.removeAt(i);
                break;
            }
        }
        group = m_parent;
    }
    if (group)
        group->removeError(errorId);
}

OpError AbstractOperation::error() const
{
    FastMutexLocker locker(m_mutex);
    return m_errors.isEmpty() ? OpError() : m_errors.first();
}

QList<OpError> AbstractOperation::errors() const { return lockedRead(m_mutex, m_errors); }

void AbstractOperation::changeIgnoreCount(bool ignore)
{
    if (ignore) {
        m_ignoreCount.testAndSetOrdered(0, 1);
        return;
    }
    int current = m_ignoreCount.loadAcquire();
    while (current > 0 && !m_ignoreCount.testAndSetOrdered(current, current - 1))
        current = m_ignoreCount.loadAcquire();
}

void AbstractOperation::setIgnoreFlag(bool ignore)
{
    changeIgnoreCount(ignore);
}

bool AbstractOperation::ignoreFlag() const
{
    return m_ignoreCount.loadAcquire() > 0;
}

void AbstractOperation::setOwnSkipFlag(bool skip) { lockedWrite(m_mutex, m_skipFlag, skip); }

void AbstractOperation::setSkipFlag(bool skip)
{
    setOwnSkipFlag(skip);
}

bool AbstractOperation::skipFlag() const { return lockedRead(m_mutex, m_skipFlag); }
QByteArray AbstractOperation::ownLog() const { return lockedRead(m_mutex, m_log); }
bool AbstractOperation::ownHasLog() const { return lockedRead(m_mutex, m_hasLog); }

QByteArray AbstractOperation::log() const
{
    return ownLog();
}

bool AbstractOperation::hasLog() const
{
    return ownHasLog();
}

void AbstractOperation::addLog(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return;
    FastMutexLocker locker(m_mutex);
    m_log.append('\n');
    m_log.append(bytes);
    m_hasLog = true;
}

AbstractOperation* AbstractOperation::topLevelOperation()
{
    AbstractOperation* op = this;
    while (OperationGroup* up = op->parent())
        op = up;
    return op;
}

AbstractOperation* AbstractOperation::firstShellOperation()
{
    for (AbstractOperation* op = this; op; op = op->parent()) {
        if (op->isShellOperation())
            return op;
    }
    return nullptr;
}

void AbstractOperation::setFreezed(bool freezed)
{
    for (AbstractOperation* op = this; op; op = op->parent()) {
        FastMutexLocker locker(op->m_mutex);
        op->m_freezeCount += freezed ? 1 : -1;
    }
}

bool AbstractOperation::isFreezed() const
{
    FastMutexLocker locker(m_mutex);
    return m_freezeCount > 0;
}

void AbstractOperation::addToTransferProgress(qint64 bytes)
{
    for (AbstractOperation* op = this; op; op = op->parent()) {
        FastMutexLocker locker(op->m_mutex);
        op->m_transferProgress += bytes;
    }
}

qint64 AbstractOperation::transferProgress() const { return lockedRead(m_mutex, m_transferProgress); }

// Plain guarded accessors.
#define LOCKED_GETTER(Type, getter, member) \
    Type AbstractOperation::getter() const  \
    {                                       \
        FastMutexLocker locker(m_mutex);    \
        return member;                      \
    }
#define LOCKED_SETTER(Type, setter, member) \
    void AbstractOperation::setter(Type value) \
    {                                          \
        FastMutexLocker locker(m_mutex);       \
        member = value;                        \
    }

LOCKED_GETTER(OperationGroup*, parent, m_parent)
LOCKED_SETTER(OperationGroup*, setParent, m_parent)
LOCKED_GETTER(int, row, m_row)
LOCKED_SETTER(int, setRow, m_row)
LOCKED_GETTER(bool, waitForPrevious, m_waitForPrevious)
LOCKED_SETTER(bool, setWaitForPrevious, m_waitForPrevious)
LOCKED_GETTER(QObject*, handler, m_handler)
LOCKED_SETTER(QObject*, setHandler, m_handler)
LOCKED_GETTER(bool, removeFlag, m_removeFlag)
LOCKED_SETTER(bool, setRemoveFlag, m_removeFlag)
LOCKED_GETTER(int, tag, m_tag)
LOCKED_SETTER(int, setTag, m_tag)
LOCKED_GETTER(int, errorCounter, m_errorCounter)
LOCKED_SETTER(int, setErrorCounter, m_errorCounter)
LOCKED_GETTER(int, sendCount, m_sendCount)
LOCKED_SETTER(int, setSendCount, m_sendCount)
LOCKED_GETTER(qint64, notBefore, m_notBefore)
LOCKED_SETTER(qint64, setNotBefore, m_notBefore)
LOCKED_GETTER(int, waitedMs, m_waitedMs)
LOCKED_SETTER(int, setWaitedMs, m_waitedMs)
LOCKED_GETTER(QDateTime, dateTime, m_dateTime)
LOCKED_SETTER(const QDateTime&, setDateTime, m_dateTime)

#undef LOCKED_GETTER
#undef LOCKED_SETTER

int AbstractOperation::uniqueId() const
{
    return m_uniqueId;
}
