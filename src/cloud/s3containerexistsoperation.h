#ifndef S3CONTAINEREXISTSOPERATION_H
#define S3CONTAINEREXISTSOPERATION_H

#include <QSharedPointer>

#include "operations/operationgroup.h"

class AbstractS3Folder;

// Whether a bucket or folder is there. A bucket is asked by a head; a folder
// by a listing of its prefix, so that one with only keys below it, and no
// object of its own, exists too.
class S3ContainerExistsOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(S3ContainerExistsOperation)

public:
    S3ContainerExistsOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder);

    QString name() const override { return tr("Check bucket exists"); }
    void prepareFirstOperation() override;

    QSharedPointer<AbstractS3Folder> folder;
    bool exists = false;
};

#endif
