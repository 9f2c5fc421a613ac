#ifndef S3CONTAINEROPERATION_H
#define S3CONTAINEROPERATION_H

#include <QByteArray>
#include <QSharedPointer>

#include "cloud/abstractcloudstorageoperation.h"
#include "util/brindlelib.h"

class AbstractS3Folder;

// A request on a bucket or on a folder below one. A body held in memory
// (setRequestData) is sent from a buffer that lives as long as the request.
class S3ContainerOperation : public AbstractCloudStorageOperation
{
public:
    S3ContainerOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& container);
    ~S3ContainerOperation() override;

    QUrl url() const override;
    QSharedPointer<AbstractAccount> account() const override;
    // "/" + bucket + the path of url() when the bucket is in the host, else
    // the path of url() as it is; only a "versionId" query is kept.
    QUrl canonicalizedResource() const override;
    QString bucketName() const override;
    bool initializeRequestDataDevice() override;
    QIODevice* requestDataDevice() const override;
    void requestFinished() override;

    QSharedPointer<AbstractS3Folder> container() const { return m_container; }
    BrindleLib::RequestStyle requestStyle() const { return m_requestStyle; }

protected:
    // The resource of target in this container's addressing style, with
    // "versionId" = encodedVersion as its only query when that is not null.
    QUrl resourceOf(const QUrl& target, const QByteArray& encodedVersion) const;
    // The encoded value of the "versionId" query of url, null when it has none.
    static QByteArray encodedVersionOf(const QUrl& url);

private:
    const QSharedPointer<AbstractS3Folder> m_container;
    QIODevice* m_requestDevice = nullptr;
    BrindleLib::RequestStyle m_requestStyle;
    QByteArray m_requestBuffer;
};

#endif
