#include "cloud/wsobjectoperation.h"

#include <QUrl>

#include "items/abstractcloudfile.h"

WSObjectOperation::WSObjectOperation(OperationGroup* parent,
                                     const QSharedPointer<AbstractCloudFile>& file)
    : S3ContainerOperation(parent, file->folder()), m_file(file)
{
}

QUrl WSObjectOperation::url() const
{
    return m_file->url();
}

QUrl WSObjectOperation::canonicalizedResource() const
{
    // The version is signed when the request names one, with the file's own id.
    const QUrl target = url();
    QByteArray version;
    if (!encodedVersionOf(target).isNull())
        version = QUrl::toPercentEncoding(QString::fromUtf8(m_file->versionId()));
    return resourceOf(target, version);
}
