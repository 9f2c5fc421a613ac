#include "operations/localdrivelistatomicoperation.h"

LocalDriveListAtomicOperation::LocalDriveListAtomicOperation(OperationGroup* parent,
                                                             const QSharedPointer<MyComputer>& myComputer)
    : myComputer(myComputer)
{
    setParent(parent);
}

LocalDriveListAtomicOperation* LocalDriveListAtomicOperation::clone(OperationGroup* parent) const
{
    auto* copy = new LocalDriveListAtomicOperation(parent, myComputer);
    copy->mountTable = mountTable;
    return copy;
}
