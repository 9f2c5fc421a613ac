#include "sync/folderexistsoperation.h"

#include "operations/localcontainerexistsatomicoperation.h"

FolderExistsOperation::FolderExistsOperation(OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder)
    : OperationGroup(parent), folder(folder)
{
}

void FolderExistsOperation::prepareFirstOperation()
{
    switch (folder->fileSystemClass()) {
    case AbstractFS::LocalClass:
        append(new LocalContainerExistsAtomicOperation(this, folder));
        break;
    case AbstractFS::CloudClass:
        // A cloud folder is asked through the store's container check,
        // which this build does not have yet.
        break;
    }
}

bool FolderExistsOperation::prepareNextOperation(AbstractOperation* child)
{
    if (OperationGroup::prepareNextOperation(child))
        return true;
    if (child->type() == LocalContainerExistsAtomicType)
        exists = static_cast<LocalContainerExistsAtomicOperation*>(child)->exists;
    return false;
}
