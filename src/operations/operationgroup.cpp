#include "operations/operationgroup.h"

#include <algorithm>

#include <QDateTime>
#include <QMutexLocker>
#include <QRandomGenerator>
#include <QUrl>

#include "operations/abstractwebserviceoperation.h"
#include "operations/abstractshelloperation.h"
#include "operations/dummyoperation.h"
#include "operations/retrypolicy.h"
#include "operations/webretrypolicy.h"

OperationGroup::OperationGroup(OperationGroup* parent)
{
    setParent(parent);
}

OperationGroup::~OperationGroup()
{
    qDeleteAll(m_operations);
    qDeleteAll(m_retired);
}

void OperationGroup::setIgnoreFlag(bool ignore)
{
    changeIgnoreCount(ignore);
    QMutexLocker locker(&m_groupMutex);
    for (AbstractOperation* op : std::as_const(m_operations))
        op->setIgnoreFlag(ignore);
}

void OperationGroup::setSkipFlag(bool)
{
    setOwnSkipFlag(true);
    QMutexLocker locker(&m_groupMutex);
    for (AbstractOperation* op : std::as_const(m_operations))
        op->setSkipFlag(true);
}

QByteArray OperationGroup::log() const
{
    QByteArray all = ownLog();
    QMutexLocker locker(&m_groupMutex);
    for (AbstractOperation* op : m_operations)
        all.append(op->log());
    return all;
}

bool OperationGroup::hasLog() const
{
    if (ownHasLog())
        return true;
    QMutexLocker locker(&m_groupMutex);
    for (AbstractOperation* op : m_operations) {
        if (op->hasLog())
            return true;
    }
    return false;
}

void OperationGroup::append(AbstractOperation* op)
{
    appendToGroup(op);
}

void OperationGroup::appendToGroup(AbstractOperation* op)
{
    QMutexLocker locker(&m_groupMutex);
    op->setParent(this);
    op->setRow(m_operations.size());
    op->setIgnoreFlag(ignoreFlag());
    if (m_waitNext) {
        op->setWaitForPrevious(true);
        m_waitNext = false;
    }
    if (op->isShellOperation()) {
        auto* shellOp = static_cast<AbstractShellOperation*>(op);
        // The next sibling must not start before a local folder exists.
        if (shellOp->createsLocalFolder())
            m_waitNext = true;
        if (shellOp->isEffectiveOperation())
            addToDisplayCounter(1);
    }
    m_operations.append(op);
    m_pending.append(op);
    if (isFinished())
        setState(PendingState);
}

void OperationGroup::notifyStateChanged(OperationState oldState, OperationState newState,
                                        AbstractOperation* child)
{
    if (oldState == newState)
        return;
    if (newState == FinishedState) {
        m_finishedCount.fetchAndAddOrdered(1);
        const bool failed = !child->error().isNull();
        if (!failed && child->isShellOperation()
            && static_cast<AbstractShellOperation*>(child)->isEffectiveOperation())
            addToFinishedDisplayCounter(1);
        if (!failed) {
            QMutexLocker locker(&m_groupMutex);
            m_pending.removeOne(child);
        }
        prepareNextOperation(child);
        bool allFinished;
        {
            QMutexLocker locker(&m_groupMutex);
            allFinished = m_operations.size() == m_finishedCount.loadAcquire();
        }
        if (allFinished)
            setState(FinishedState);
    }
    if (oldState == FinishedState)
        m_finishedCount.fetchAndSubOrdered(1);
    if (newState != FinishedState)
        setState(newState);
}

AbstractOperation* OperationGroup::takeNextToExecute()
{
    QMutexLocker locker(&m_groupMutex);
    if (isFreezed())
        return nullptr;
    if (m_firstPrepare && m_operations.isEmpty())
        prepareFirstOperation();
    m_firstPrepare = false;
    // A group with nothing to do still finishes the ordinary way.
    if (m_operations.isEmpty())
        append(new DummyOperation);

    const QList<AbstractOperation*> pending = m_pending;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    for (AbstractOperation* child : pending) {
        const OperationState state = child->state();
        if (state == FinishedState)
            continue;
        if (!child->isGroup() && (state == RunningState || child->notBefore() > now))
            continue;
        if (child->waitForPrevious() && m_finishedCount.loadAcquire() < child->row())
            return nullptr;
        if (!child->isGroup())
            return child;
        auto* group = static_cast<OperationGroup*>(child);
        if (group->operationListIsEmpty()) {
            group->prepareFirstOperation();
            group->m_firstPrepare = false;
            if (group->operationListIsEmpty())
                group->append(new DummyOperation);
        }
        if (group->hasPendingOperation()) {
            if (AbstractOperation* next = group->takeNextToExecute())
                return next;
        }
    }
    return nullptr;
}

bool OperationGroup::prepareNextOperation(AbstractOperation* child)
{
    if (retryOrRedirect(child))
        return true;
    runContinuation(child);
    return false;
}

void OperationGroup::setContinuation(AbstractOperation* op, Continuation then)
{
    QMutexLocker locker(&m_groupMutex);
    m_continuations.insert(op, std::move(then));
}

void OperationGroup::passContinuation(AbstractOperation* from, AbstractOperation* to)
{
    QMutexLocker locker(&m_groupMutex);
    const auto found = m_continuations.constFind(from);
    if (found != m_continuations.cend())
        m_continuations.insert(to, found.value());
}

void OperationGroup::runContinuation(AbstractOperation* child)
{
    Continuation then;
    {
        QMutexLocker locker(&m_groupMutex);
        then = m_continuations.value(child);
    }
    // Outside the lock: a continuation appends, and may reach its parent.
    if (then)
        then(child);
}

bool OperationGroup::retryOrRedirect(AbstractOperation* child)
{
    QMutexLocker locker(&m_groupMutex);
    if (child->isWebServiceOperation())
        return decideWebRetry(static_cast<AbstractWebServiceOperation*>(child));
    if (child->isLocalOperation() && !child->error().isNull())
        return retryIfAllowed(child);
    return false;
}

bool OperationGroup::decideWebRetry(AbstractWebServiceOperation* child)
{
    switch (WebRetryPolicy::decide(child)) {
    case WebRetryPolicy::Retry:
        return retryIfAllowed(child);
    case WebRetryPolicy::Redirect:
        return followRedirect(child);
    case WebRetryPolicy::Resend:
        // Sent again signed anew, which is no retry: no wait, and neither the
        // send nor the failure counts.
        retry(child, Uncounted);
        return true;
    case WebRetryPolicy::NoRetry:
        break;
    }
    return false;
}

bool OperationGroup::followRedirect(AbstractWebServiceOperation* child)
{
    if (WebRetryPolicy::redirectCount(child) > 4) {
        child->setError(OpError(OpError::GeneralError, QString(), tr("Infinite redirect loop"), QString()));
        return true;
    }
    const QUrl location = WebRetryPolicy::redirectLocation(child);
    if (!location.isValid())
        return true;
    AbstractOperation* redirected = WebRetryPolicy::cloneForRedirect(child, this, location);
    redirected->setTag(child->tag());
    redirected->setWaitForPrevious(child->waitForPrevious());
    passContinuation(child, redirected);
    append(redirected);
    return true;
}

bool OperationGroup::retryIfAllowed(AbstractOperation* child)
{
    if (!RetryPolicy::allowsAnother(child))
        return false;
    retry(child);
    return true;
}

// The wait before the replacement may run, and its line in the log.
void OperationGroup::scheduleRetry(AbstractOperation* child, AbstractOperation* replacement)
{
    if (replacement->errorCounter() == child->errorCounter()) {
        replacement->setSendCount(std::max(0, child->sendCount() - 1));
        replacement->setWaitedMs(child->waitedMs());
        return;
    }
    const int failures = child->errorCounter() + 1;
    int hint = 0;
    if (child->isWebServiceOperation())
        hint = RetryPolicy::retryAfterMs(static_cast<AbstractWebServiceOperation*>(child)->httpResponseHeader());
    const bool slowDown = child->error().code() == QLatin1String("SlowDown");
    const int delay = RetryPolicy::scaled(RetryPolicy::delayMs(failures, child->waitedMs(), hint, slowDown,
                                                               QRandomGenerator::global()->generateDouble()));
    replacement->setSendCount(child->sendCount());
    replacement->setWaitedMs(child->waitedMs() + delay);
    replacement->setNotBefore(QDateTime::currentMSecsSinceEpoch() + delay);
    const bool web = child->isWebServiceOperation();
    const QString line = QStringLiteral("\nRetry: attempt %1 of %2 in %3 s, after: %4\n")
                             .arg(web ? std::max(child->sendCount(), failures) + 1 : failures + 1)
                             .arg(web ? RetryPolicy::maxWebSends : RetryPolicy::maxLocalRuns)
                             .arg(delay / 1000.0, 0, 'f', 3)
                             .arg(RetryPolicy::reason(child));
    replacement->addLog(line.toUtf8());
}

void OperationGroup::retry(AbstractOperation* child, RetryCount count)
{
    AbstractOperation* replacement = child->clone(this);
    if (!replacement)
        return;
    replacement->addLog(child->log());
    replacement->setErrorCounter(child->errorCounter() + (count == Counted ? 1 : 0));
    scheduleRetry(child, replacement);
    if (!child->error().isNull()) {
        child->removeError();
        const qint64 progress = child->transferProgress();
        if (progress != 0)
            child->addToTransferProgress(-progress);
    }
    replacement->setParent(this);
    replacement->setTag(child->tag());
    replacement->setWaitForPrevious(child->waitForPrevious());
    passContinuation(child, replacement);
    child->setState(PendingState);
    replacePendingOperation(child, replacement);
}

void OperationGroup::replacePendingOperation(AbstractOperation* old, AbstractOperation* replacement)
{
    QMutexLocker locker(&m_groupMutex);
    const int index = m_pending.indexOf(old);
    if (index >= 0)
        m_pending[index] = replacement;
    else
        m_pending.append(replacement);
    // The replacement takes the old child's row so that the group owns it and
    // the count of rows stays right; the old child is kept alive until the
    // group goes, because the scheduler is still reporting on it.
    const int row = m_operations.indexOf(old);
    if (row >= 0) {
        m_operations[row] = replacement;
        m_retired.append(old);
    } else {
        m_operations.append(replacement);
    }
}

void OperationGroup::clearChildren(bool shellOperationsToo)
{
    QMutexLocker locker(&m_groupMutex);
    if (!error().isNull() || !isFinished())
        return;
    QList<AbstractOperation*> kept;
    for (AbstractOperation* child : std::as_const(m_operations)) {
        if (!shellOperationsToo && child->isShellOperation()) {
            kept.append(child);
            continue;
        }
        addLog(child->log());
        if (child->isFinished())
            m_finishedCount.fetchAndSubOrdered(1);
        m_pending.removeOne(child);
        m_continuations.remove(child);
        delete child;
    }
    m_operations = kept;
    for (int i = 0; i < m_operations.size(); ++i)
        m_operations.at(i)->setRow(i);
    for (AbstractOperation* retired : std::as_const(m_retired))
        m_continuations.remove(retired);
    qDeleteAll(m_retired);
    m_retired.clear();
}

void OperationGroup::clearAllOperations()
{
    clearChildren(true);
}

void OperationGroup::clearNoShellOperations()
{
    clearChildren(false);
    clearVariables();
}

#define GROUP_COUNTER(adder, getter, member)                             \
    void OperationGroup::adder(int n)                                    \
    {                                                                    \
        for (AbstractOperation* op = this; op; op = op->parent())        \
            static_cast<OperationGroup*>(op)->member.fetchAndAddOrdered(n); \
    }                                                                    \
    int OperationGroup::getter() const { return member.loadAcquire(); }

GROUP_COUNTER(addToDisplayCounter, displayCounter, m_displayCounter)
GROUP_COUNTER(addToFinishedDisplayCounter, finishedDisplayCounter, m_finishedDisplayCounter)
#undef GROUP_COUNTER

void OperationGroup::addToTransferSize(qint64 n)
{
    for (AbstractOperation* op = this; op; op = op->parent()) {
        auto* group = static_cast<OperationGroup*>(op);
        QMutexLocker locker(&group->m_groupMutex);
        group->m_transferSize += n;
    }
}

qint64 OperationGroup::transferSize() const
{
    QMutexLocker locker(&m_groupMutex);
    return m_transferSize;
}

int OperationGroup::finishedCount() const
{
    return m_finishedCount.loadAcquire();
}

int OperationGroup::operationCount() const
{
    QMutexLocker locker(&m_groupMutex);
    return m_operations.size();
}

AbstractOperation* OperationGroup::operationAt(int index) const
{
    QMutexLocker locker(&m_groupMutex);
    return m_operations.value(index);
}

int OperationGroup::shellOperationCount() const
{
    QMutexLocker locker(&m_groupMutex);
    return int(std::count_if(m_operations.cbegin(), m_operations.cend(),
                             [](AbstractOperation* op) { return op->isShellOperation(); }));
}

AbstractOperation* OperationGroup::shellOperationAt(int index) const
{
    QMutexLocker locker(&m_groupMutex);
    for (AbstractOperation* op : m_operations) {
        if (op->isShellOperation() && index-- == 0)
            return op;
    }
    return nullptr;
}

bool OperationGroup::hasPendingOperation() const
{
    QMutexLocker locker(&m_groupMutex);
    return !m_pending.isEmpty();
}

bool OperationGroup::operationListIsEmpty() const
{
    QMutexLocker locker(&m_groupMutex);
    return m_operations.isEmpty();
}

BrindleLib::OverwriteMode OperationGroup::overwriteMode() const
{
    QMutexLocker locker(&m_groupMutex);
    return m_overwriteMode;
}

void OperationGroup::setOverwriteMode(BrindleLib::OverwriteMode mode)
{
    QMutexLocker locker(&m_groupMutex);
    m_overwriteMode = mode;
}

bool OperationGroup::canRetry() const
{
    QMutexLocker locker(&m_groupMutex);
    return m_canRetryCount > 0;
}

void OperationGroup::setCanRetry(bool canRetry)
{
    QMutexLocker locker(&m_groupMutex);
    m_canRetryCount += canRetry ? 1 : (m_canRetryCount > 0 ? -1 : 0);
}
