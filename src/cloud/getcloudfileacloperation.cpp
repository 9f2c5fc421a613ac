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
    append(new GetS3FileAclAtomicOperation(this, file));
}

bool GetCloudFileAclOperation::prepareNextOperation(AbstractOperation* child)
{
    if (OperationGroup::prepareNextOperation(child))
        return true;
    if (child->type() == GetS3FileAclAtomicType)
        acl = static_cast<GetS3FileAclAtomicOperation*>(child)->acl;
    return false;
}
