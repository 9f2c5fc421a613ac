#ifndef LOCALOPERATIONRUNNER_H
#define LOCALOPERATIONRUNNER_H

#include <QAtomicInt>
#include <QByteArray>

class AbstractLocalOperation;

// The local half of a handler: carries out one local atomic operation from
// start to end on the handler's thread, setting its results or its error.
class LocalOperationRunner
{
public:
    LocalOperationRunner(AbstractLocalOperation* op, bool logEnabled, const QAtomicInt* abortFlag);

    void run();

private:
    bool aborted() const { return m_abortFlag && m_abortFlag->loadAcquire() != 0; }
    void log(const QByteArray& text);

    AbstractLocalOperation* m_op;
    bool m_logEnabled;
    const QAtomicInt* m_abortFlag;
};

#endif
