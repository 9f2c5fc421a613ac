#ifndef READYQUEUE_H
#define READYQUEUE_H

#include <QQueue>

#include "util/fastmutex.h"

class AbstractOperation;

// Atomic operations decided on the main thread and waiting for a handler.
// Handlers share it: the first to come free takes the next one, without a
// round trip through the main thread between two requests.
class ReadyQueue
{
public:
    void push(AbstractOperation* op);
    // Null when there is nothing to take.
    AbstractOperation* pop();
    int size() const;

private:
    mutable FastMutex m_mutex;
    QQueue<AbstractOperation*> m_ops;
};

#endif
