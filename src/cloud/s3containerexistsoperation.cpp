#include "cloud/s3containerexistsoperation.h"

#include "cloud/heads3containeroperation.h"
#include "cloud/wslistatomicoperation.h"
#include "cloud/wslistoperation.h"
#include "items/abstractbucket.h"

S3ContainerExistsOperation::S3ContainerExistsOperation(OperationGroup* parent,
                                                       const QSharedPointer<AbstractS3Folder>& folder)
    : OperationGroup(parent), folder(folder)
{
}

void S3ContainerExistsOperation::prepareFirstOperation()
{
    switch (folder->itemType()) {
    case AbstractItem::CloudFolderItem:
        // One key is enough to know; the filter of the sync has no say here.
        appendThen(new WSListAtomicOperation(this, WSListOperation::bucketOf(folder), folder, QString(),
                                             QStringLiteral("1"), BrindleLib::ListOneLevel, Filter()),
                   [this](WSListAtomicOperation* list) {
                       exists = list->hasContent;
                       list->clearList();
                   });
        break;
    case AbstractItem::BucketItem:
        appendThen(new HeadS3ContainerOperation(this, folder),
                   [this](HeadS3ContainerOperation* head) { exists = !head->foundFolder.isNull(); });
        break;
    default:
        break;
    }
}

