#ifndef ABSTRACTITEM_H
#define ABSTRACTITEM_H

#include <QSharedPointer>
#include <QString>
#include <QUrl>

#include "items/abstractfs.h"

// A small handle on something that can be a source or a destination: it
// knows its kind, its path and its parent, never its children. Items live in
// QSharedPointers; a child holds its parent strongly, so a listing's items
// keep their chain alive until the last one goes.
class AbstractItem : public AbstractFS
{
public:
    // Callers compare these numbers: the values are fixed.
    enum ItemType {
        InvisibleRoot = 0,
        MyComputerItem = 1,
        DriveItem = 2,
        LocalFolderItem = 3,
        LocalFileItem = 4,
        AccountItem = 5,
        BucketItem = 6,
        CloudFolderItem = 7,
        CloudFileItem = 8,
        DotDotItem = 9
    };

    enum NodeType { FolderNode = 0, VirtualFolderNode = 1, FileNode = 2 };

    // The name of a type, or an empty string for a value outside the enumeration.
    static QString itemTypeToString(ItemType type);

    virtual ItemType itemType() const = 0;
    virtual bool isReadOnly() const = 0;
    virtual NodeType nodeType() const = 0;
    virtual QUrl url() const = 0;
    virtual QString displayName() const = 0;
    virtual QString displayPath() const = 0;
    virtual bool isRootItem() const = 0;
    virtual bool isCopyable() const = 0;
    virtual bool isMovable() const = 0;
    virtual bool isEditable() const = 0;
    virtual bool isSelectable() const = 0;
    virtual bool isDeletable() const = 0;
    virtual bool isCopyableToClipboard() const = 0;
    // A new item of the same class in a new shared pointer, sharing the parent.
    virtual QSharedPointer<AbstractItem> clone() const = 0;
    virtual bool canBeRestored() const { return false; }
};

#endif
