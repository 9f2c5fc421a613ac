#ifndef PUTS3ACLOPERATION_H
#define PUTS3ACLOPERATION_H

#include <QCoreApplication>
#include <QSharedPointer>

#include "cloud/aclrequest.h"
#include "cloud/s3containeroperation.h"
#include "cloud/wsobjectoperation.h"
#include "operations/operationgroup.h"

class AbstractCloudFile;
class AbstractS3Folder;

// PUT ?acl of one object.
class PutS3FileAclAtomicOperation : public PutAclRequest<WSObjectOperation>
{
    Q_DECLARE_TR_FUNCTIONS(PutS3FileAclAtomicOperation)

public:
    PutS3FileAclAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file,
                                const QSharedPointer<AbstractAcl>& acl);

    QString name() const override { return tr("Put acl"); }
    PutS3FileAclAtomicOperation* clone(OperationGroup* parent) const override;
};

// PUT ?acl of a bucket or of a folder's own object.
class WSPutContainerAclAtomicOperation : public PutAclRequest<S3ContainerOperation>
{
    Q_DECLARE_TR_FUNCTIONS(WSPutContainerAclAtomicOperation)

public:
    WSPutContainerAclAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder,
                                     const QSharedPointer<AbstractAcl>& acl);

    QString name() const override { return tr("Put acl"); }
    WSPutContainerAclAtomicOperation* clone(OperationGroup* parent) const override;
};

// Writes an ACL onto an object or a container.
class PutS3AclOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(PutS3AclOperation)

public:
    PutS3AclOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder,
                      const QSharedPointer<AbstractAcl>& acl);
    PutS3AclOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file,
                      const QSharedPointer<AbstractAcl>& acl);

    QString name() const override { return tr("Put acl"); }
    void prepareFirstOperation() override;

    QSharedPointer<AbstractS3Folder> folder;
    QSharedPointer<AbstractCloudFile> file;
    QSharedPointer<AbstractAcl> acl;
};

#endif
