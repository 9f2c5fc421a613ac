#include "operations/deletelocalfileatomicoperation.h"

DeleteLocalFileAtomicOperation::DeleteLocalFileAtomicOperation(OperationGroup* parent,
                                                               const QSharedPointer<AbstractFile>& file)
    : file(file)
{
    setParent(parent);
}

DeleteLocalFileAtomicOperation* DeleteLocalFileAtomicOperation::clone(OperationGroup* parent) const
{
    return new DeleteLocalFileAtomicOperation(parent, file);
}
