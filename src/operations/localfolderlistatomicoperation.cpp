#include "operations/localfolderlistatomicoperation.h"

LocalFolderListAtomicOperation::LocalFolderListAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractLocalContainer>& folder,
    BrindleLib::EntryListMode mode, bool includeHidden, bool includeSystem, bool ignoreSymLinks,
    const Filter& filter)
    : folder(folder), mode(mode), includeHidden(includeHidden), includeSystem(includeSystem),
      ignoreSymLinks(ignoreSymLinks), filter(filter)
{
    setParent(parent);
}

LocalFolderListAtomicOperation* LocalFolderListAtomicOperation::clone(OperationGroup* parent) const
{
    return new LocalFolderListAtomicOperation(parent, folder, mode, includeHidden, includeSystem,
                                              ignoreSymLinks, filter);
}
