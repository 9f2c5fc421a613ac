#include "cloud/puts3acloperation.h"

#include "items/abstractcloudfile.h"
#include "items/abstracts3folder.h"

PutS3FileAclAtomicOperation::PutS3FileAclAtomicOperation(OperationGroup* parent,
                                                         const QSharedPointer<AbstractCloudFile>& file,
                                                         const QSharedPointer<AbstractAcl>& acl)
    : PutAclRequest<WSObjectOperation>(parent, file, acl)
{
}

PutS3FileAclAtomicOperation* PutS3FileAclAtomicOperation::clone(OperationGroup* parent) const
{
    return new PutS3FileAclAtomicOperation(parent, file(), acl());
}

WSPutContainerAclAtomicOperation::WSPutContainerAclAtomicOperation(OperationGroup* parent,
                                                                   const QSharedPointer<AbstractS3Folder>& folder,
                                                                   const QSharedPointer<AbstractAcl>& acl)
    : PutAclRequest<S3ContainerOperation>(parent, folder, acl)
{
}

WSPutContainerAclAtomicOperation* WSPutContainerAclAtomicOperation::clone(OperationGroup* parent) const
{
    return new WSPutContainerAclAtomicOperation(parent, container(), acl());
}

PutS3AclOperation::PutS3AclOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder,
                                     const QSharedPointer<AbstractAcl>& acl)
    : OperationGroup(parent), folder(folder), acl(acl)
{
}

PutS3AclOperation::PutS3AclOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file,
                                     const QSharedPointer<AbstractAcl>& acl)
    : OperationGroup(parent), file(file), acl(acl)
{
}

void PutS3AclOperation::prepareFirstOperation()
{
    if (file)
        append(new PutS3FileAclAtomicOperation(this, file, acl));
    else
        append(new WSPutContainerAclAtomicOperation(this, folder, acl));
}
