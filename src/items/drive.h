#ifndef DRIVE_H
#define DRIVE_H

#include "items/abstractlocalcontainer.h"
#include "util/fastmutex.h"

class LocalFile;
class LocalFolder;
class MyComputer;

// The root of the local file system, or a mount point taken from the mount table.
class Drive : public AbstractLocalContainer
{
public:
    Drive(QChar delimiter, const QString& path, const QSharedPointer<MyComputer>& parent);
    Drive(const Drive& other);
    Drive& operator=(const Drive&) = delete;

    ItemType itemType() const override { return DriveItem; }
    bool isReadOnly() const override { return false; }
    bool isRootItem() const override { return true; }
    bool isCopyable() const override { return false; }
    bool isMovable() const override { return false; }
    bool isEditable() const override { return false; }
    bool isSelectable() const override { return true; }
    bool isDeletable() const override { return false; }
    bool isCopyableToClipboard() const override { return false; }

    QUrl url() const override;
    QString displayName() const override { return path(); }
    QString displayPath() const override { return path(); }
    QString path() const override;
    QString name() const override { return path(); }
    QSharedPointer<AbstractFolder> rootItem() const override;
    QSharedPointer<AbstractItem> clone() const override;

    QUrl realUrl() const;
    QSharedPointer<MyComputer> parent() const;
    bool isShortcut() const;
    void setShortcut(bool shortcut);

    // A file or folder of that name directly below a fresh copy of this
    // drive; the caller owns the result.
    LocalFile* childFile(const QString& name) const;
    LocalFolder* childContainer(const QString& name) const;

private:
    mutable FastMutex m_mutex;
    const QString m_path;
    const QSharedPointer<MyComputer> m_parent;
    bool m_shortcut = false;
    mutable QUrl m_cachedUrl;
};

#endif
