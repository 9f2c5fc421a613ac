#include "operations/localoperationrunner.h"

#include "operations/abstractlocaloperation.h"

LocalOperationRunner::LocalOperationRunner(AbstractLocalOperation* op, bool logEnabled,
                                           const QAtomicInt* abortFlag)
    : m_op(op), m_logEnabled(logEnabled), m_abortFlag(abortFlag)
{
}

void LocalOperationRunner::run()
{
    m_op->run(*this);
}

void LocalOperationRunner::log(const QByteArray& text)
{
    if (m_logEnabled)
        m_op->addLog(text);
}

void LocalOperationRunner::fail(const QString& code, const QString& message)
{
    m_op->setError(OpError(OpError::FileError, code, message, QString()));
    log(QStringLiteral("Error : ") + m_op->error().toString(true));
}
