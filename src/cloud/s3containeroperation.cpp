#include "cloud/s3containeroperation.h"

#include <QBuffer>

#include "items/abstractaccount.h"
#include "items/abstracts3folder.h"
#include "items/url.h"

namespace {
const QByteArray global_versionIdKey = QByteArrayLiteral("versionId");
}

S3ContainerOperation::S3ContainerOperation(OperationGroup* parent,
                                           const QSharedPointer<AbstractS3Folder>& container)
    : m_container(container), m_requestStyle(container->account()->requestStyle())
{
    setParent(parent);
    // A name that can't be a host name is always in the path, whatever the
    // account prefers: the signed resource must agree with the URL.
    if (!Url::isDnsCompatible(container->bucketName()))
        m_requestStyle = BrindleLib::RequestStylePath;
}

S3ContainerOperation::~S3ContainerOperation()
{
    delete m_requestDevice;
}

QUrl S3ContainerOperation::url() const
{
    return m_container->url();
}

QSharedPointer<AbstractAccount> S3ContainerOperation::account() const
{
    return m_container->account();
}

QString S3ContainerOperation::bucketName() const
{
    return m_container->bucketName();
}

QUrl S3ContainerOperation::canonicalizedResource() const
{
    const QUrl target = url();
    return resourceOf(target, encodedVersionOf(target));
}

QUrl S3ContainerOperation::resourceOf(const QUrl& target, const QByteArray& encodedVersion) const
{
    QString path = target.path(QUrl::FullyEncoded);
    if (m_requestStyle == BrindleLib::RequestStyleVirtualHost)
        path.prepend(QLatin1Char('/') + m_container->bucketName());
    QUrl resource;
    resource.setPath(path, QUrl::TolerantMode);
    if (!encodedVersion.isNull())
        resource.setQuery(QString::fromLatin1(global_versionIdKey + '=' + encodedVersion),
                          QUrl::TolerantMode);
    return resource;
}

QByteArray S3ContainerOperation::encodedVersionOf(const QUrl& url)
{
    const QByteArray query = url.query(QUrl::FullyEncoded).toLatin1();
    for (const QByteArray& item : query.split('&')) {
        if (item.startsWith(global_versionIdKey + '='))
            return item.mid(global_versionIdKey.size() + 1);
    }
    return QByteArray();
}

bool S3ContainerOperation::initializeRequestDataDevice()
{
    delete m_requestDevice;
    m_requestDevice = nullptr;
    m_requestBuffer = requestData();
    if (m_requestBuffer.isNull())
        return true;
    // Opened by the client when it sends.
    m_requestDevice = new QBuffer(&m_requestBuffer);
    return true;
}

QIODevice* S3ContainerOperation::requestDataDevice() const
{
    return m_requestDevice;
}

void S3ContainerOperation::requestFinished()
{
    if (m_requestDevice)
        m_requestDevice->close();
    delete m_requestDevice;
    m_requestDevice = nullptr;
    m_requestBuffer.clear();
}
