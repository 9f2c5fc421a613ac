#include "cloud/getcloudfileacloperation.h"

#include "items/abstractcloudfile.h"

GetS3FileAclAtomicOperation::GetS3FileAclAtomicOperation(OperationGroup* parent,
                                                         const QSharedPointer<AbstractCloudFile>& file)
    : GetAclRequest<WSObjectOperation>(parent, file)
{
}

GetS3FileAclAtomicOperation* GetS3FileAclAtomicOperation::clone(OperationGroup* parent) const
{
    return new GetS3FileAclAtomicOperation(parent, file());
}

GetCloudFileAclOperation::GetCloudFileAclOperation(OperationGroup* parent,
                                                   const QSharedPointer<AbstractCloudFile>& file)
    : OperationGroup(parent), file(file)
{
}

void GetCloudFileAclOperation::prepareFirstOperation()
{
    appendThen(new GetS3FileAclAtomicOperation(this, file),
               [this](GetS3FileAclAtomicOperation* get) { acl = get->acl; });
}
