#include "sync/folderexistsoperation.h"

#include "cloud/s3containerexistsoperation.h"
#include "items/abstracts3folder.h"
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
        append(new S3ContainerExistsOperation(this, folder.staticCast<AbstractS3Folder>()));
        break;
    }
}

bool FolderExistsOperation::prepareNextOperation(AbstractOperation* child)
{
    if (OperationGroup::prepareNextOperation(child))
        return true;
    if (child->type() == LocalContainerExistsAtomicType)
        exists = static_cast<LocalContainerExistsAtomicOperation*>(child)->exists;
    else if (child->type() == S3ContainerExistsType)
        exists = static_cast<S3ContainerExistsOperation*>(child)->exists;
    return false;
}
