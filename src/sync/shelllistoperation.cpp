#include "sync/shelllistoperation.h"

#include "cloud/getserviceoperation.h"
#include "items/abstractaccount.h"
#include "items/abstractfolder.h"
#include "items/mycomputer.h"
#include "operations/localdrivelistatomicoperation.h"
#include "sync/shelllistfolderoperation.h"

ShellListOperation::ShellListOperation(OperationGroup* parent, const QSharedPointer<AbstractContainer>& container,
                                       BrindleLib::ListVersionMode listVersionMode, bool includeHidden,
                                       bool includeSystem, bool ignoreSymLinks, const Filter& filter)
    : AbstractShellOperation(parent), container(container), listVersionMode(listVersionMode),
      includeHidden(includeHidden), includeSystem(includeSystem), ignoreSymLinks(ignoreSymLinks), filter(filter)
{
}

bool ShellListOperation::isEffectiveOperation() const
{
    const AbstractItem::ItemType itemType = container->itemType();
    return itemType == AbstractItem::MyComputerItem || itemType == AbstractItem::AccountItem;
}

void ShellListOperation::prepareFirstOperation()
{
    switch (container->itemType()) {
    case AbstractItem::DriveItem:
    case AbstractItem::LocalFolderItem:
    case AbstractItem::BucketItem:
    case AbstractItem::CloudFolderItem:
        append(new ShellListFolderOperation(this, container.staticCast<AbstractFolder>(), BrindleLib::ListOneLevel,
                                            listVersionMode, includeHidden, includeSystem, ignoreSymLinks,
                                            filter));
        break;
    case AbstractItem::MyComputerItem:
        append(new LocalDriveListAtomicOperation(this, container.staticCast<MyComputer>()));
        break;
    case AbstractItem::AccountItem:
        append(new GetServiceOperation(this, container.staticCast<AbstractAccount>()));
        break;
    default:
        // Files and the like hold nothing to list: the group ends at once.
        break;
    }
}
