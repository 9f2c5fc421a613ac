#ifndef ABSTRACTOPERATION_H
#define ABSTRACTOPERATION_H

#include <QMetaType>

#include <QAtomicInt>
#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>

#include "util/operror.h"
#include "util/fastmutex.h"

class OperationGroup;

// One piece of work: atomic (carried out by one handler in one go) or a group
// that decides what comes next. Every field is guarded by the operation's own
// mutex so that handler threads may report while the main thread decides.
class AbstractOperation
{
    Q_DECLARE_TR_FUNCTIONS(AbstractOperation)

public:
    enum OperationState { PendingState = 0, RunningState = 1, FinishedState = 2 };

    enum Type {
        NoType = 0,
        DummyType = 22,
        OverwriteConfirmType = 46,
    };

    AbstractOperation();
    virtual ~AbstractOperation();
    AbstractOperation(const AbstractOperation&) = delete;
    AbstractOperation& operator=(const AbstractOperation&) = delete;

    // The two kinds that the scheduler settles without a handler; every
    // other kind answers NoType and reports through its continuation.
    virtual int type() const { return NoType; }
    virtual QString name() const = 0;
    virtual bool isGroup() const { return false; }
    virtual bool isWebServiceOperation() const { return false; }
    virtual bool isLocalOperation() const { return false; }
    virtual bool isShellOperation() const { return false; }
    virtual void setState(OperationState state);
    virtual void setError(const OpError& error);
    virtual void removeError();
    virtual void setIgnoreFlag(bool ignore);
    virtual int transferType() const { return 0; }
    virtual QByteArray log() const;
    virtual void setSkipFlag(bool skip);
    virtual bool hasLog() const;

    // A fresh copy of an atomic operation, for a retry; groups are never cloned.
    virtual AbstractOperation* clone(OperationGroup* parent) const;

    OperationGroup* parent() const;
    void setParent(OperationGroup* parent);
    int row() const;
    void setRow(int row);
    bool waitForPrevious() const;
    void setWaitForPrevious(bool wait);
    bool isFreezed() const;
    void setFreezed(bool freezed);
    OperationState state() const;
    bool isFinished() const { return state() == FinishedState; }
    qint64 transferProgress() const;
    void addToTransferProgress(qint64 bytes);
    QObject* handler() const;
    void setHandler(QObject* handler);
    bool removeFlag() const;
    void setRemoveFlag(bool remove);
    bool skipFlag() const;
    int tag() const;
    void setTag(int tag);
    int errorCounter() const;
    void setErrorCounter(int counter);
    // Requests sent for this piece of work so far, its earlier attempts included.
    int sendCount() const;
    void setSendCount(int count);
    // Milliseconds since the epoch before which the scheduler leaves it alone.
    qint64 notBefore() const;
    void setNotBefore(qint64 msecsSinceEpoch);
    // Milliseconds its earlier attempts have waited in all.
    int waitedMs() const;
    void setWaitedMs(int ms);
    bool ignoreFlag() const;
    QDateTime dateTime() const;
    void setDateTime(const QDateTime& dateTime);
    int uniqueId() const;

    AbstractOperation* topLevelOperation();
    AbstractOperation* firstShellOperation();
    void addLog(const QByteArray& bytes);
    OpError error() const;
    QList<OpError> errors() const;
    void removeError(int errorId);
    void addChildrenError(const OpError& error);

    static QAtomicInt global_uniqueId;

protected:
    QByteArray ownLog() const;
    bool ownHasLog() const;
    void setOwnSkipFlag(bool skip);
    void changeIgnoreCount(bool ignore);

private:
    OperationGroup* m_parent = nullptr;
    bool m_hasOwnError = false;
    int m_row = -1;
    bool m_waitForPrevious = false;
    int m_freezeCount = 0;
    OperationState m_state = PendingState;
    qint64 m_transferProgress = 0;
    QObject* m_handler = nullptr;
    bool m_removeFlag = false;
    bool m_skipFlag = false;
    bool m_hasLog = false;
    int m_tag = 0;
    int m_errorCounter = 0;
    int m_sendCount = 0;
    qint64 m_notBefore = 0;
    int m_waitedMs = 0;
    QAtomicInt m_ignoreCount;
    QDateTime m_dateTime;
    int m_uniqueId;
    QByteArray m_log;
    QList<OpError> m_errors;
    mutable FastMutex m_mutex;
};

Q_DECLARE_METATYPE(AbstractOperation*)

#endif
