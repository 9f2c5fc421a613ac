#include "cloud/deletes3emptyfolderoperation.h"

#include "cloud/deletecloudfileoperation.h"
#include "items/abstractwsfolder.h"

DeleteS3EmptyFolderAtomicOperation::DeleteS3EmptyFolderAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractWSFolder>& folder)
    : S3ContainerOperation(parent, folder), m_folder(folder)
{
}

DeleteS3EmptyFolderAtomicOperation* DeleteS3EmptyFolderAtomicOperation::clone(OperationGroup* parent) const
{
    return new DeleteS3EmptyFolderAtomicOperation(parent, m_folder);
}

bool DeleteS3EmptyFolderAtomicOperation::processResponseData()
{
    return DeleteCloudFileAtomicOperation::processDeleteResponse(this);
}

DeleteS3EmptyFolderOperation::DeleteS3EmptyFolderOperation(OperationGroup* parent,
                                                           const QSharedPointer<AbstractWSFolder>& folder)
    : OperationGroup(parent), folder(folder)
{
}

void DeleteS3EmptyFolderOperation::prepareFirstOperation()
{
    append(new DeleteS3EmptyFolderAtomicOperation(this, folder));
}
