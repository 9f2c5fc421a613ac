#ifndef ABSTRACTSHELLOPERATION_H
#define ABSTRACTSHELLOPERATION_H

#include <QMetaType>

#include <QAtomicInt>

#include "operations/operationgroup.h"

// An operation a user would name ("Copy file", "Synchronize"): the unit the
// console reports on, and the level at which finished subtrees are freed.
class AbstractShellOperation : public OperationGroup
{
public:
    explicit AbstractShellOperation(OperationGroup* parent = nullptr);

    bool isShellOperation() const override { return true; }
    void append(AbstractOperation* op) override;

    virtual QString sourceDisplayPath() const = 0;
    virtual QString destinationDisplayPath() const = 0;
    virtual bool isEffectiveOperation() const = 0;
    // True when this operation makes a folder on the local disk, which the
    // next sibling must wait for.
    virtual bool createsLocalFolder() const { return false; }

    bool hasShellChild() const;
    int runningOperations() const;
    void addToRunningOperations(int n);
    bool commandLineShowTag() const;
    void setCommandLineShowTag(bool shown);

private:
    bool m_hasShellChild = false;
    QAtomicInt m_runningOperations;
    bool m_commandLineShowTag = false;
    mutable FastMutex m_shellMutex;
};

Q_DECLARE_METATYPE(AbstractShellOperation*)

#endif
