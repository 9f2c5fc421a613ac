#ifndef MYCOMPUTER_H
#define MYCOMPUTER_H

#include "items/abstractvirtualfolder.h"
#include "util/fastmutex.h"

// The virtual root above the drives.
class MyComputer : public AbstractVirtualFolder
{
public:
    MyComputer() = default;
    MyComputer(const MyComputer& other);
    MyComputer& operator=(const MyComputer&) = delete;

    FileSystemType fileSystemType() const override { return LocalFileSystem; }
    FileSystemClass fileSystemClass() const override { return LocalClass; }
    ItemType itemType() const override { return MyComputerItem; }
    QUrl url() const override;
    QString displayName() const override;
    QString displayPath() const override { return QString(); }
    bool isRootItem() const override { return true; }
    bool isSelectable() const override { return true; }
    bool isDeletable() const override { return false; }
    QSharedPointer<AbstractItem> clone() const override;

    void setDisplayName(const QString& name);

private:
    mutable FastMutex m_mutex;
    QString m_displayName;
};

#endif
