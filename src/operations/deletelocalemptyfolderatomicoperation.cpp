#include "operations/deletelocalemptyfolderatomicoperation.h"

DeleteLocalEmptyFolderAtomicOperation::DeleteLocalEmptyFolderAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder)
    : folder(folder)
{
    setParent(parent);
}

DeleteLocalEmptyFolderAtomicOperation* DeleteLocalEmptyFolderAtomicOperation::clone(OperationGroup* parent) const
{
    return new DeleteLocalEmptyFolderAtomicOperation(parent, folder);
}
