#include "cloud/gets3containeracloperation.h"

#include "items/abstracts3folder.h"

GetS3ContainerAclAtomicOperation::GetS3ContainerAclAtomicOperation(OperationGroup* parent,
                                                                   const QSharedPointer<AbstractS3Folder>& folder)
    : GetAclRequest<S3ContainerOperation>(parent, folder)
{
}

GetS3ContainerAclAtomicOperation* GetS3ContainerAclAtomicOperation::clone(OperationGroup* parent) const
{
    return new GetS3ContainerAclAtomicOperation(parent, container());
}

GetS3ContainerAclOperation::GetS3ContainerAclOperation(OperationGroup* parent,
                                                       const QSharedPointer<AbstractS3Folder>& folder,
                                                       bool ofBucket)
    : OperationGroup(parent),
      folder(ofBucket && folder ? folder->rootItem().staticCast<AbstractS3Folder>() : folder)
{
}

void GetS3ContainerAclOperation::prepareFirstOperation()
{
    appendThen(new GetS3ContainerAclAtomicOperation(this, folder),
               [this](GetS3ContainerAclAtomicOperation* get) { acl = get->acl; });
}
