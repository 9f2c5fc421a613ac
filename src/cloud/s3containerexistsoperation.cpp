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
        append(new WSListAtomicOperation(this, WSListOperation::bucketOf(folder), folder, QString(),
                                         QStringLiteral("1"), BrindleLib::ListOneLevel, Filter()));
        break;
    case AbstractItem::BucketItem:
        append(new HeadS3ContainerOperation(this, folder));
        break;
    default:
        break;
    }
}

bool S3ContainerExistsOperation::prepareNextOperation(AbstractOperation* child)
{
    if (OperationGroup::prepareNextOperation(child))
        return true;
    switch (child->type()) {
    case WSListAtomicType: {
        auto* list = static_cast<WSListAtomicOperation*>(child);
        exists = list->hasContent;
        list->clearList();
        return true;
    }
    case HeadS3ContainerType:
        exists = !static_cast<HeadS3ContainerOperation*>(child)->foundFolder.isNull();
        return true;
    default:
        return false;
    }
}

