#include "sync/shelldeletevirtualfolderoperation.h"

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
        // A cloud folder's marker object goes through the cloud delete
        // group, which this build does not have yet.
        break;
    }
}
