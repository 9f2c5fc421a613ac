#ifndef GETCLOUDFILEACLOPERATION_H
#define GETCLOUDFILEACLOPERATION_H

#include <QCoreApplication>
#include <QSharedPointer>

#include "cloud/aclrequest.h"
#include "cloud/wsobjectoperation.h"
#include "operations/operationgroup.h"

class AbstractCloudFile;

// GET ?acl of one object, or of one version of it.
class GetS3FileAclAtomicOperation : public GetAclRequest<WSObjectOperation>
{
    Q_DECLARE_TR_FUNCTIONS(GetS3FileAclAtomicOperation)

public:
    GetS3FileAclAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file);

    QString name() const override { return tr("Get acl"); }
    GetS3FileAclAtomicOperation* clone(OperationGroup* parent) const override;
};

// Reads the ACL of an object. When it has finished, acl holds the list, or
// null when the object has none to read (404) or the request failed (see
// error()).
class GetCloudFileAclOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(GetCloudFileAclOperation)

public:
    GetCloudFileAclOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file);

    QString name() const override { return tr("Get acl"); }
    void prepareFirstOperation() override;

    QSharedPointer<AbstractCloudFile> file;
    QSharedPointer<AbstractAcl> acl;
};

#endif
