#ifndef WSOBJECTOPERATION_H
#define WSOBJECTOPERATION_H

#include "cloud/s3containeroperation.h"

class AbstractCloudFile;

// A request on one object, or on one version of it.
class WSObjectOperation : public S3ContainerOperation
{
public:
    WSObjectOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file);

    QUrl url() const override;
    // As for the container, the version taken from the file itself.
    QUrl canonicalizedResource() const override;

    QSharedPointer<AbstractCloudFile> file() const { return m_file; }

private:
    const QSharedPointer<AbstractCloudFile> m_file;
};

#endif
