#include "operations/localoperationrunner.h"

#include "operations/abstractlocaloperation.h"

LocalOperationRunner::LocalOperationRunner(AbstractLocalOperation* op, bool logEnabled,
                                           const QAtomicInt* abortFlag)
    : m_op(op), m_logEnabled(logEnabled), m_abortFlag(abortFlag)
{
}

void LocalOperationRunner::run()
{
    // Types without a local action here do nothing.
    switch (m_op->type()) {
    default:
        break;
    }
}

void LocalOperationRunner::log(const QByteArray& text)
{
    if (m_logEnabled)
        m_op->addLog(text);
}
