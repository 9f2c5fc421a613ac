#include "testoperations.h"

#include <QCoreApplication>

void HandlerProbe::enter()
{
    {
        QMutexLocker locker(&mutex);
        threads.insert(QThread::currentThread());
    }
    runs.fetchAndAddOrdered(1);
    const int now = inFlight.fetchAndAddOrdered(1) + 1;
    int seen = maxInFlight.loadAcquire();
    while (now > seen && !maxInFlight.testAndSetOrdered(seen, now))
        seen = maxInFlight.loadAcquire();
    if (sleepMs > 0)
        QThread::msleep(sleepMs);
    inFlight.fetchAndSubOrdered(1);
}

void ProbeLocalOperation::run(LocalOperationRunner&)
{
    if (m_probe)
        m_probe->enter();
}

ProbeLocalOperation* ProbeLocalOperation::clone(OperationGroup* parent) const
{
    auto* copy = new ProbeLocalOperation(m_probe);
    copy->setParent(parent);
    return copy;
}

FakeWebOperation* FakeWebOperation::clone(OperationGroup* parent) const
{
    auto* copy = new FakeWebOperation(m_storage);
    copy->setParent(parent);
    return copy;
}

void ListShellOperation::prepareFirstOperation()
{
    for (AbstractOperation* child : std::as_const(m_children))
        append(child);
    m_children.clear();
}
