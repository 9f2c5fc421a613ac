#ifndef GETS3CONTAINERACLOPERATION_H
#define GETS3CONTAINERACLOPERATION_H

#include <QCoreApplication>
#include <QSharedPointer>

#include "cloud/aclrequest.h"
#include "cloud/s3containeroperation.h"
#include "operations/operationgroup.h"

class AbstractS3Folder;

// GET ?acl of a bucket, or of a folder's own object.
class GetS3ContainerAclAtomicOperation : public GetAclRequest<S3ContainerOperation>
{
    Q_DECLARE_TR_FUNCTIONS(GetS3ContainerAclAtomicOperation)

public:
    GetS3ContainerAclAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder);

    QString name() const override { return tr("Get acl"); }
    GetS3ContainerAclAtomicOperation* clone(OperationGroup* parent) const override;
};

// Reads the ACL of a container. With ofBucket, a folder below a bucket is
// represented by its bucket: what new objects inherit is the bucket's list,
// and a folder known only as a key prefix has no list of its own. When it has
// finished, acl holds the list, or null (404, or a failure: see error()).
class GetS3ContainerAclOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(GetS3ContainerAclOperation)

public:
    GetS3ContainerAclOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder,
                               bool ofBucket);

    QString name() const override { return tr("Get acl"); }
    void prepareFirstOperation() override;

    // The container whose list is read.
    QSharedPointer<AbstractS3Folder> folder;
    QSharedPointer<AbstractAcl> acl;
};

#endif
