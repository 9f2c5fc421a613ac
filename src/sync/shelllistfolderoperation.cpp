#include "sync/shelllistfolderoperation.h"

#include <utility>

#include "cloud/wslistoperation.h"
#include "items/abstractlocalcontainer.h"
#include "items/abstracts3folder.h"
#include "operations/localfolderlistatomicoperation.h"

ShellListFolderOperation::ShellListFolderOperation(OperationGroup* parent,
                                                   const QSharedPointer<AbstractFolder>& folder,
                                                   BrindleLib::EntryListMode entryListMode,
                                                   BrindleLib::ListVersionMode listVersionMode,
                                                   BrindleLib::ListEntries entries, const Filter& filter)
    : AbstractShellOperation(parent), folder(folder), entryListMode(entryListMode),
      listVersionMode(listVersionMode), entries(entries), filter(filter)
{
}

void ShellListFolderOperation::prepareFirstOperation()
{
    switch (folder->fileSystemClass()) {
    case AbstractFS::LocalClass:
        appendThen(new LocalFolderListAtomicOperation(this, folder.staticCast<AbstractLocalContainer>(),
                                                      entryListMode, entries, filter),
                   [this](LocalFolderListAtomicOperation* listing) {
                       files = std::exchange(listing->files, {});
                       folders = std::exchange(listing->folders, {});
                       unreadableFolders = std::exchange(listing->unreadableFolders, {});
                   });
        break;
    case AbstractFS::CloudClass:
        appendThen(new WSListOperation(this, folder.staticCast<AbstractS3Folder>(), entryListMode,
                                       listVersionMode, filter),
                   [this](WSListOperation* listing) {
                       files = listing->files;
                       folders = listing->folders;
                       listedFolder = listing->folder();
                       listing->clearList();
                   });
        break;
    }
}

void ShellListFolderOperation::clearList()
{
    files = QList<QSharedPointer<AbstractFile>>();
    folders = QList<QSharedPointer<AbstractFolder>>();
}
