#include "operations/readyqueue.h"

void ReadyQueue::push(AbstractOperation* op)
{
    FastMutexLocker locker(m_mutex);
    m_ops.enqueue(op);
}

AbstractOperation* ReadyQueue::pop()
{
    FastMutexLocker locker(m_mutex);
    return m_ops.isEmpty() ? nullptr : m_ops.dequeue();
}

int ReadyQueue::size() const
{
    FastMutexLocker locker(m_mutex);
    return m_ops.size();
}
