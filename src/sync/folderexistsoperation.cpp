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
        appendThen(new LocalContainerExistsAtomicOperation(this, folder),
                   [this](LocalContainerExistsAtomicOperation* check) { exists = check->exists; });
        break;
    case AbstractFS::CloudClass:
        appendThen(new S3ContainerExistsOperation(this, folder.staticCast<AbstractS3Folder>()),
                   [this](S3ContainerExistsOperation* check) { exists = check->exists; });
        break;
    }
}
