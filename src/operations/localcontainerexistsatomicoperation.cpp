#include "operations/localcontainerexistsatomicoperation.h"

LocalContainerExistsAtomicOperation::LocalContainerExistsAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder)
    : folder(folder)
{
    setParent(parent);
}

LocalContainerExistsAtomicOperation* LocalContainerExistsAtomicOperation::clone(OperationGroup* parent) const
{
    return new LocalContainerExistsAtomicOperation(parent, folder);
}
