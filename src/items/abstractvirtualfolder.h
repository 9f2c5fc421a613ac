#ifndef ABSTRACTVIRTUALFOLDER_H
#define ABSTRACTVIRTUALFOLDER_H

#include "items/abstractcontainer.h"

// A container without a path of its own: the computer, an account. It can be
// shown and selected, but nothing is copied, moved or edited there.
class AbstractVirtualFolder : public AbstractContainer
{
public:
    NodeType nodeType() const override { return VirtualFolderNode; }
    bool isReadOnly() const override { return true; }
    bool isVirtual() const override { return true; }
    bool isCopyable() const override { return false; }
    bool isMovable() const override { return false; }
    bool isEditable() const override { return false; }
    bool isCopyableToClipboard() const override { return false; }

    virtual bool isVersionDeletable() const { return false; }
};

#endif
