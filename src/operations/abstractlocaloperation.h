#ifndef ABSTRACTLOCALOPERATION_H
#define ABSTRACTLOCALOPERATION_H

#include <QMetaType>

#include "operations/abstractoperation.h"

class LocalOperationRunner;

// An atomic operation on the local disk. Its creator fills the inputs, a
// handler fills the results or sets an error, the group reads them back.
class AbstractLocalOperation : public AbstractOperation
{
public:
    bool isLocalOperation() const override { return true; }
    // Copies the inputs and leaves the results empty, so the copy can run again.
    AbstractLocalOperation* clone(OperationGroup* parent) const override = 0;
    // The work itself, on a handler's thread; the runner logs, reports
    // failures and tells whether the run was aborted.
    virtual void run(LocalOperationRunner& runner) = 0;
};

Q_DECLARE_METATYPE(AbstractLocalOperation*)

#endif
