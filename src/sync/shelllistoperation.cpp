#include "sync/shelllistoperation.h"

#include "cloud/getserviceoperation.h"
#include "items/abstractaccount.h"
#include "items/abstractbucket.h"
#include "items/abstractfolder.h"
#include "items/mycomputer.h"
#include "operations/localdrivelistatomicoperation.h"
#include "sync/shelllistfolderoperation.h"

ShellListOperation::ShellListOperation(OperationGroup* parent, const QSharedPointer<AbstractContainer>& container,
                                       BrindleLib::ListVersionMode listVersionMode, BrindleLib::ListEntries entries,
                                       const Filter& filter)
    : AbstractShellOperation(parent), container(container), listVersionMode(listVersionMode), entries(entries),
      filter(filter)
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
        appendThen(new ShellListFolderOperation(this, container.staticCast<AbstractFolder>(),
                                                BrindleLib::ListOneLevel, listVersionMode, entries, filter),
                   [this](ShellListFolderOperation* listing) { folders.append(listing->folders); });
        break;
    case AbstractItem::MyComputerItem:
        appendThen(new LocalDriveListAtomicOperation(this, container.staticCast<MyComputer>()),
                   [this](LocalDriveListAtomicOperation* listing) { folders.append(listing->drives); });
        break;
    case AbstractItem::AccountItem:
        appendThen(new GetServiceOperation(this, container.staticCast<AbstractAccount>()),
                   [this](GetServiceOperation* get) {
                       for (const auto& bucket : std::as_const(get->buckets))
                           folders.append(QSharedPointer<AbstractFolder>(bucket));
                   });
        break;
    default:
        // Files and the like hold nothing to list: the group ends at once.
        break;
    }
}
