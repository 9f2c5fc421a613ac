#ifndef HEADS3CONTAINEROPERATION_H
#define HEADS3CONTAINEROPERATION_H

#include <QSharedPointer>

#include "cloud/s3containeroperation.h"
#include "operations/operationgroup.h"

// One HEAD on a bucket or on a folder's own object. 403 counts as there: the
// bucket belongs to someone else, which to a creation is the same as taken.
class HeadS3ContainerAtomicOperation : public S3ContainerOperation
{
    Q_DECLARE_TR_FUNCTIONS(HeadS3ContainerAtomicOperation)

public:
    HeadS3ContainerAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder);

    QString name() const override { return tr("Head object"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::HeadMethod; }
    bool processResponseData() override;
    HeadS3ContainerAtomicOperation* clone(OperationGroup* parent) const override;

    bool exists = false;
    // A copy of the container, when the store answered 200.
    QSharedPointer<AbstractS3Folder> foundFolder;
};

class HeadS3ContainerOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(HeadS3ContainerOperation)

public:
    HeadS3ContainerOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder);

    QString name() const override { return tr("Head Object"); }
    void prepareFirstOperation() override;

    QSharedPointer<AbstractS3Folder> folder;
    bool exists = false;
    QSharedPointer<AbstractS3Folder> foundFolder;
};

#endif
