#include "sync/shelldeletevirtualfolderoperation.h"

#include "cloud/deletes3emptyfolderoperation.h"
#include "items/abstractwsfolder.h"
#include "operations/deletelocalemptyfolderatomicoperation.h"

ShellDeleteVirtualFolderOperation::ShellDeleteVirtualFolderOperation(OperationGroup* parent,
                                                                     const QSharedPointer<AbstractFolder>& folder,
                                                                     bool allVersions)
    : AbstractShellOperation(parent), folder(folder), allVersions(allVersions)
{
}

void ShellDeleteVirtualFolderOperation::prepareFirstOperation()
{
    switch (folder->fileSystemClass()) {
    case AbstractFS::LocalClass:
        append(new DeleteLocalEmptyFolderAtomicOperation(this, folder));
        break;
    case AbstractFS::CloudClass:
        // Only a folder below a bucket has an object of its own; whether the
        // store holds one or not, the request is the same.
        if (folder->itemType() == AbstractItem::CloudFolderItem)
            append(new DeleteS3EmptyFolderOperation(this, folder.staticCast<AbstractWSFolder>()));
        break;
    }
}
