#include "cloud/heads3containeroperation.h"

#include "items/abstracts3folder.h"

HeadS3ContainerAtomicOperation::HeadS3ContainerAtomicOperation(OperationGroup* parent,
                                                               const QSharedPointer<AbstractS3Folder>& folder)
    : S3ContainerOperation(parent, folder)
{
}

HeadS3ContainerAtomicOperation* HeadS3ContainerAtomicOperation::clone(OperationGroup* parent) const
{
    return new HeadS3ContainerAtomicOperation(parent, container());
}

bool HeadS3ContainerAtomicOperation::processResponseData()
{
    switch (httpResponseHeader().statusCode()) {
    case 200:
        exists = true;
        foundFolder = container()->clone().staticCast<AbstractS3Folder>();
        return true;
    case 403:
        exists = true;
        return true;
    case 404:
        exists = false;
        return true;
    default:
        return S3ContainerOperation::processResponseData();
    }
}

HeadS3ContainerOperation::HeadS3ContainerOperation(OperationGroup* parent,
                                                   const QSharedPointer<AbstractS3Folder>& folder)
    : OperationGroup(parent), folder(folder)
{
}

void HeadS3ContainerOperation::prepareFirstOperation()
{
    appendThen(new HeadS3ContainerAtomicOperation(this, folder), [this](HeadS3ContainerAtomicOperation* head) {
        exists = head->exists;
        foundFolder = head->foundFolder;
    });
}
