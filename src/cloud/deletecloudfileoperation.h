#ifndef DELETECLOUDFILEOPERATION_H
#define DELETECLOUDFILEOPERATION_H

#include <QSharedPointer>

#include "cloud/wsobjectoperation.h"
#include "operations/operationgroup.h"

// One DELETE of an object, or of one version of it. Only 204 is success. A
// versioned store answers with the marker it laid, which becomes markerFile.
class DeleteCloudFileAtomicOperation : public WSObjectOperation
{
    Q_DECLARE_TR_FUNCTIONS(DeleteCloudFileAtomicOperation)

public:
    DeleteCloudFileAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file);

    QString name() const override { return tr("Delete object"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::DeleteMethod; }
    bool processResponseData() override;
    DeleteCloudFileAtomicOperation* clone(OperationGroup* parent) const override;

    // The delete marker the store laid; null on a store without versioning.
    QSharedPointer<AbstractCloudFile> markerFile;

    // The judgement of a DELETE answer that both object deletes share: 204
    // alone is success, anything else but a redirect is an error.
    static bool processDeleteResponse(AbstractCloudStorageOperation* op);
};

class DeleteCloudFileOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(DeleteCloudFileOperation)

public:
    DeleteCloudFileOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file);

    QString name() const override { return tr("Delete file"); }
    void prepareFirstOperation() override;

    QSharedPointer<AbstractCloudFile> file;
    // Null until a versioned store answers: the marker laid, and the version
    // it hides.
    QSharedPointer<AbstractCloudFile> markerFile;
    QSharedPointer<AbstractCloudFile> previousFile;
};

#endif
