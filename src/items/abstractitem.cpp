#include "items/abstractitem.h"

QString AbstractItem::itemTypeToString(ItemType type)
{
    static const char* const names[] = {
        "InvisibleRoot", "MyComputerItem", "DriveItem", "LocalFolderItem", "LocalFileItem",
        "AccountItem", "BucketItem", "CloudFolderItem", "CloudFileItem", "DotDotItem"
    };
    const int index = static_cast<int>(type);
    if (index < 0 || index >= int(sizeof(names) / sizeof(names[0])))
        return QString();
    return QString::fromLatin1(names[index]);
}
