#include "testoperations.h"

void HandlerProbe::enter()
{
    {
        QMutexLocker locker(&mutex);
        threads.insert(QThread::currentThread());
        ++runs;
        maxInFlight = qMax(maxInFlight, ++inFlight);
    }
    QThread::msleep(sleepMs);
    QMutexLocker locker(&mutex);
    --inFlight;
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
