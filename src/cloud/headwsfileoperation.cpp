#include "cloud/headwsfileoperation.h"

#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstractuser.h"
#include "items/deletemarker.h"
#include "items/driver.h"
#include "net/timeoffset.h"

HeadWSFileAtomicOperation::HeadWSFileAtomicOperation(OperationGroup* parent,
                                                     const QSharedPointer<AbstractCloudFile>& file)
    : WSObjectOperation(parent, file)
{
}

HeadWSFileAtomicOperation* HeadWSFileAtomicOperation::clone(OperationGroup* parent) const
{
    return new HeadWSFileAtomicOperation(parent, file());
}

bool HeadWSFileAtomicOperation::processResponseData()
{
    const HttpResponseHeader header = httpResponseHeader();
    switch (header.statusCode()) {
    case 200:
        objectFound(header);
        return true;
    case 403:
    case 404: {
        const QSharedPointer<AbstractAccount> store = account();
        if (header.field(store->xDeleteMarker()).value() == "true")
            deleteMarkerVersionId = header.field(store->xVersionId()).value();
        return true;
    }
    default:
        return WSObjectOperation::processResponseData();
    }
}

void HeadWSFileAtomicOperation::objectFound(const HttpResponseHeader& header)
{
    const QSharedPointer<AbstractCloudFile> source = file();
    const QSharedPointer<AbstractAccount> store = account();
    if (store->hasFeature(AbstractAccount::ServerSideEncryptionFeature)
        && header.contains(store->xServerSideEncryption()))
        serverSideEncryption = 1;
    if (header.contains(store->xMetaBrindleboxEncryption()))
        clientSideEncryption =
            ClientSideEncryption::fromByteArray(header.field(store->xMetaBrindleboxEncryption()).value()).first;
    metadata = header.metaData();

    resultFile = source->clone().staticCast<AbstractCloudFile>();
    QByteArray eTag = header.field("ETag").value();
    if (!eTag.isEmpty()) {
        if (eTag.startsWith('"'))
            eTag.remove(0, 1);
        if (eTag.endsWith('"'))
            eTag.chop(1);
        resultFile->setMd5Sum(QByteArray::fromHex(eTag));
    }
    resultFile->setLastModified(fromHttpDate(QString::fromLatin1(header.field("Last-Modified").value())).toLocalTime());
    resultFile->setSize(header.contentLength());
    resultFile->setOwner(source->owner());
    if (header.contains(store->xVersionId()))
        resultFile->setVersionId(header.field(store->xVersionId()).value());
}

HeadWSFileOperation::HeadWSFileOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& source)
    : OperationGroup(parent), source(source)
{
}

void HeadWSFileOperation::prepareFirstOperation()
{
    appendThen(new HeadWSFileAtomicOperation(this, source), [this](HeadWSFileAtomicOperation* head) {
        if (head->resultFile) {
            file = head->resultFile;
            metadata = head->metadata;
            clientSideEncryption = head->clientSideEncryption;
            serverSideEncryption = head->serverSideEncryption;
        } else if (!head->deleteMarkerVersionId.isEmpty()) {
            file = deleteMarkerFile(head->deleteMarkerVersionId);
        }
    });
}

QSharedPointer<AbstractCloudFile> HeadWSFileOperation::deleteMarkerFile(const QByteArray& versionId) const
{
    const QSharedPointer<AbstractUser> owner = source->owner();
    const DeleteMarker marker(source->path(), versionId, true, QDateTime(), source->folder(),
                              owner ? owner->id() : QByteArray());
    const QSharedPointer<AbstractCloudFile> item =
        Driver::createFile(marker.key(), 0, marker.lastModified(), QByteArray(), source->folder(), true, versionId,
                           owner, StorageDirective::StandardStorage);
    if (item)
        item->setDeleteMarker(marker);
    return item;
}
