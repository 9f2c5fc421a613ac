#ifndef DELETES3EMPTYFOLDEROPERATION_H
#define DELETES3EMPTYFOLDEROPERATION_H

#include <QSharedPointer>

#include "cloud/s3containeroperation.h"
#include "operations/operationgroup.h"

class AbstractWSFolder;

// One DELETE of a folder's own object: the key with the trailing delimiter.
// Deleting one that is not there is the same request, and 204 all the same.
class DeleteS3EmptyFolderAtomicOperation : public S3ContainerOperation
{
    Q_DECLARE_TR_FUNCTIONS(DeleteS3EmptyFolderAtomicOperation)

public:
    DeleteS3EmptyFolderAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractWSFolder>& folder);

    // Shared with the object delete; each group only ever holds its own kind.
    QString name() const override { return tr("Delete object"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::DeleteMethod; }
    bool processResponseData() override;
    DeleteS3EmptyFolderAtomicOperation* clone(OperationGroup* parent) const override;

private:
    const QSharedPointer<AbstractWSFolder> m_folder;
};

class DeleteS3EmptyFolderOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(DeleteS3EmptyFolderOperation)

public:
    DeleteS3EmptyFolderOperation(OperationGroup* parent, const QSharedPointer<AbstractWSFolder>& folder);

    QString name() const override { return tr("Delete empty folder"); }
    void prepareFirstOperation() override;

    QSharedPointer<AbstractWSFolder> folder;
};

#endif
