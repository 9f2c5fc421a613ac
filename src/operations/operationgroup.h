#ifndef OPERATIONGROUP_H
#define OPERATIONGROUP_H

#include <functional>

#include <QHash>
#include <QRecursiveMutex>

#include "operations/abstractoperation.h"
#include "util/brindlelib.h"

class AbstractWebServiceOperation;

// A node of the operation tree: owns its children, hands out the next atomic
// operation and decides, when a child has finished, what comes next.
class OperationGroup : public AbstractOperation
{
public:
    explicit OperationGroup(OperationGroup* parent = nullptr);
    ~OperationGroup() override;

    bool isGroup() const override { return true; }
    void setIgnoreFlag(bool ignore) override;
    QByteArray log() const override;
    void setSkipFlag(bool skip) override;
    bool hasLog() const override;

    virtual void append(AbstractOperation* op);
    // Appends a child together with what the group does once it has finished
    // for good (not retried, not redirected): the continuation runs on the
    // deciding thread with the child as its own class, and passes to the
    // clones that retry it.
    template <class Op, class Then>
    Op* appendThen(Op* op, Then then)
    {
        setContinuation(op, [then](AbstractOperation* done) { then(static_cast<Op*>(done)); });
        append(op);
        return op;
    }
    virtual void prepareFirstOperation() {}
    // Returns true when the child is being retried or redirected: the caller
    // must then do nothing more for it. Otherwise the child's continuation
    // has run.
    virtual bool prepareNextOperation(AbstractOperation* child);
    virtual AbstractOperation* takeNextToExecute();
    virtual void prepareRetry() {}
    virtual void clearNoShellOperations();
    virtual void clearAllOperations();
    virtual void clearVariables() {}

    void notifyStateChanged(OperationState oldState, OperationState newState, AbstractOperation* child);

    void addToDisplayCounter(int n);
    void addToFinishedDisplayCounter(int n);
    void addToTransferSize(qint64 n);
    int displayCounter() const;
    int finishedDisplayCounter() const;
    qint64 transferSize() const;
    int finishedCount() const;

    int operationCount() const;
    AbstractOperation* operationAt(int index) const;
    int shellOperationCount() const;
    AbstractOperation* shellOperationAt(int index) const;
    bool hasPendingOperation() const;
    bool operationListIsEmpty() const;
    void replacePendingOperation(AbstractOperation* old, AbstractOperation* replacement);

    BrindleLib::OverwriteMode overwriteMode() const;
    void setOverwriteMode(BrindleLib::OverwriteMode mode);
    bool canRetry() const;
    void setCanRetry(bool canRetry);

protected:
    void appendToGroup(AbstractOperation* op);
    QRecursiveMutex& groupMutex() const { return m_groupMutex; }

private:
    using Continuation = std::function<void(AbstractOperation*)>;
    void setContinuation(AbstractOperation* op, Continuation then);
    void passContinuation(AbstractOperation* from, AbstractOperation* to);
    void runContinuation(AbstractOperation* child);
    bool retryOrRedirect(AbstractOperation* child);
    bool decideWebRetry(AbstractWebServiceOperation* child);
    bool followRedirect(AbstractWebServiceOperation* child);
    bool retryIfAllowed(AbstractOperation* child);
    // A counted retry waits and uses up an attempt; an uncounted one is the
    // same request signed anew.
    enum RetryCount { Counted, Uncounted };
    void retry(AbstractOperation* child, RetryCount count = Counted);
    static void scheduleRetry(AbstractOperation* child, AbstractOperation* replacement);
    void clearChildren(bool shellOperationsToo);

    QList<AbstractOperation*> m_pending;
    QAtomicInt m_finishedCount;
    QAtomicInt m_displayCounter;
    QAtomicInt m_finishedDisplayCounter;
    BrindleLib::OverwriteMode m_overwriteMode = BrindleLib::OverwriteAsk;
    qint64 m_transferSize = 0;
    int m_canRetryCount = 0;
    bool m_firstPrepare = true;
    mutable QRecursiveMutex m_groupMutex;
    QList<AbstractOperation*> m_operations;
    bool m_waitNext = false;
    // Children replaced by their retry clones, freed with the group.
    QList<AbstractOperation*> m_retired;
    QHash<AbstractOperation*, Continuation> m_continuations;
};

#endif
