#ifndef HEADWSFILEOPERATION_H
#define HEADWSFILEOPERATION_H

#include <QSharedPointer>

#include "cloud/wsobjectoperation.h"
#include "crypto/clientsideencryption.h"
#include "net/metadata.h"
#include "operations/operationgroup.h"

// One HEAD on an object. The answer goes onto a fresh copy of the item, so a
// listed item keeps the values the listing gave it. 403 and 404 both mean
// that there is no such object: a store answers 403 for a missing key to
// those who may not list the bucket.
class HeadWSFileAtomicOperation : public WSObjectOperation
{
    Q_DECLARE_TR_FUNCTIONS(HeadWSFileAtomicOperation)

public:
    HeadWSFileAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file);

    QString name() const override { return tr("Head object"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::HeadMethod; }
    bool processResponseData() override;
    HeadWSFileAtomicOperation* clone(OperationGroup* parent) const override;

    // Null when there is no such object.
    QSharedPointer<AbstractCloudFile> resultFile;
    Metadata metadata;
    int serverSideEncryption = 0;
    ClientSideEncryption clientSideEncryption;
    // The version of the delete marker that hides a missing object, if any.
    QByteArray deleteMarkerVersionId;

private:
    void objectFound(const HttpResponseHeader& header);
};

class HeadWSFileOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(HeadWSFileOperation)

public:
    HeadWSFileOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& source);

    QString name() const override { return tr("Head Object"); }
    void prepareFirstOperation() override;

    QSharedPointer<AbstractCloudFile> source;
    // A new item with the answers; null when the object does not exist.
    QSharedPointer<AbstractCloudFile> file;
    Metadata metadata;
    ClientSideEncryption clientSideEncryption;
    // 1 when the store said that it encrypts the object; the field itself is
    // not among the metadata kept.
    int serverSideEncryption = 0;

private:
    // The item that stands for the delete marker found in place of the object.
    QSharedPointer<AbstractCloudFile> deleteMarkerFile(const QByteArray& versionId) const;
};

#endif
