#include "cloud/deletecloudfileoperation.h"

#include "cloud/headwsfileoperation.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstractuser.h"
#include "items/deletemarker.h"
#include "items/driver.h"
#include "net/timeoffset.h"

DeleteCloudFileAtomicOperation::DeleteCloudFileAtomicOperation(OperationGroup* parent,
                                                               const QSharedPointer<AbstractCloudFile>& file)
    : WSObjectOperation(parent, file)
{
}

DeleteCloudFileAtomicOperation* DeleteCloudFileAtomicOperation::clone(OperationGroup* parent) const
{
    return new DeleteCloudFileAtomicOperation(parent, file());
}

bool DeleteCloudFileAtomicOperation::processDeleteResponse(AbstractCloudStorageOperation* op)
{
    const HttpResponseHeader header = op->httpResponseHeader();
    const int status = header.statusCode();
    if (status == 204)
        return true;
    op->AbstractCloudStorageOperation::processResponseData();
    // The default judgement lets a 404 or a 2xx pass; a delete that did not
    // answer 204 has not been done. A redirect is the retry policy's.
    const bool redirect = status >= 300 && status <= 399;
    if (op->error().isNull() && header.isValid() && !redirect)
        op->setError(OpError(OpError::ServiceError, QString::number(status),
                             QString::fromLatin1(header.reasonPhrase()), QString()));
    return true;
}

bool DeleteCloudFileAtomicOperation::processResponseData()
{
    processDeleteResponse(this);
    const HttpResponseHeader header = httpResponseHeader();
    if (header.statusCode() != 204)
        return true;
    const QSharedPointer<AbstractAccount> store = account();
    if (header.field(store->xDeleteMarker()).value() != "true")
        return true;
    // The store keeps versions and has laid a marker over the object.
    const QSharedPointer<AbstractCloudFile> deleted = file();
    const QByteArray versionId = header.field(store->xVersionId()).value();
    const QDateTime date = fromHttpDate(QString::fromLatin1(header.field("Date").value())).toUTC();
    const QSharedPointer<AbstractUser> owner = deleted->owner();
    const DeleteMarker marker(deleted->path(), versionId, true, date, deleted->folder(),
                              owner ? owner->id() : QByteArray());
    markerFile = Driver::createFile(deleted->path(), 0, date, QByteArray(), deleted->folder(), true, versionId, owner,
                                    StorageDirective::StandardStorage);
    if (markerFile)
        markerFile->setDeleteMarker(marker);
    return true;
}

DeleteCloudFileOperation::DeleteCloudFileOperation(OperationGroup* parent,
                                                   const QSharedPointer<AbstractCloudFile>& file)
    : OperationGroup(parent), file(file)
{
}

void DeleteCloudFileOperation::prepareFirstOperation()
{
    appendThen(new DeleteCloudFileAtomicOperation(this, file), [this](DeleteCloudFileAtomicOperation* del) {
        markerFile = del->markerFile;
        // The latest version that the marker now hides, for the display of versions.
        if (!markerFile || !del->error().isNull())
            return;
        const QSharedPointer<AbstractCloudFile> hidden = Driver::createChildFile(file->folder(), file->name());
        if (hidden)
            appendThen(new HeadWSFileOperation(this, hidden),
                       [this](HeadWSFileOperation* head) { previousFile = head->file; });
    });
}
