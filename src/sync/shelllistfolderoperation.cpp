#include "sync/shelllistfolderoperation.h"

#include <utility>

#include "items/abstractlocalcontainer.h"
#include "operations/localfolderlistatomicoperation.h"

ShellListFolderOperation::ShellListFolderOperation(OperationGroup* parent,
                                                   const QSharedPointer<AbstractFolder>& folder,
                                                   BrindleLib::EntryListMode entryListMode,
                                                   BrindleLib::ListVersionMode listVersionMode,
                                                   bool includeHidden, bool includeSystem,
                                                   bool ignoreSymLinks, const Filter& filter)
    : AbstractShellOperation(parent), folder(folder), entryListMode(entryListMode),
      listVersionMode(listVersionMode), includeHidden(includeHidden), includeSystem(includeSystem),
      ignoreSymLinks(ignoreSymLinks), filter(filter)
{
}

void ShellListFolderOperation::prepareFirstOperation()
{
    switch (folder->fileSystemClass()) {
    case AbstractFS::LocalClass:
        append(new LocalFolderListAtomicOperation(this, folder.staticCast<AbstractLocalContainer>(),
                                                  entryListMode, includeHidden, includeSystem,
                                                  ignoreSymLinks, filter));
        break;
    case AbstractFS::CloudClass:
        // Until the web listing is here, an empty answer would read as an
        // empty store and the sync would act on it: fail instead.
        setError(OpError(OpError::GeneralError, QString(),
                         tr("Listing %1 is not supported yet").arg(folder->displayPath()), QString()));
        break;
    }
}

bool ShellListFolderOperation::prepareNextOperation(AbstractOperation* child)
{
    if (AbstractShellOperation::prepareNextOperation(child))
        return true;
    if (child->type() == LocalFolderListAtomicType) {
        auto* listing = static_cast<LocalFolderListAtomicOperation*>(child);
        files = std::exchange(listing->files, {});
        folders = std::exchange(listing->folders, {});
        return true;
    }
    return false;
}

void ShellListFolderOperation::clearList()
{
    files = QList<QSharedPointer<AbstractFile>>();
    folders = QList<QSharedPointer<AbstractFolder>>();
}
