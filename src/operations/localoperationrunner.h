#ifndef LOCALOPERATIONRUNNER_H
#define LOCALOPERATIONRUNNER_H

#include <QAtomicInt>
#include <QByteArray>
#include <QString>

class AbstractLocalOperation;

// The local half of a handler: runs one local atomic operation on the
// handler's thread and serves it the log, the failure report and the abort
// flag while it runs.
class LocalOperationRunner
{
public:
    LocalOperationRunner(AbstractLocalOperation* op, bool logEnabled, const QAtomicInt* abortFlag);

    void run();

    bool aborted() const { return m_abortFlag && m_abortFlag->loadAcquire() != 0; }
    void log(const QByteArray& text);
    void log(const QString& text) { log(text.toUtf8()); }
    // Sets a file error on the operation and logs it.
    void fail(const QString& code, const QString& message);

private:
    AbstractLocalOperation* m_op;
    bool m_logEnabled;
    const QAtomicInt* m_abortFlag;
};

#endif
