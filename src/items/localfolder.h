#ifndef LOCALFOLDER_H
#define LOCALFOLDER_H

#include "items/abstractlocalcontainer.h"
#include "items/localpath.h"
#include "util/fastmutex.h"

// A folder below a drive. Its parent is never null.
class LocalFolder : public AbstractLocalContainer
{
public:
    // From a listing: the full path and the length of the name at its end.
    LocalFolder(const QSharedPointer<AbstractLocalContainer>& parent, const QString& path,
                int nameLength);
    // The folder called name directly inside parent, whether it exists or not.
    LocalFolder(const QSharedPointer<AbstractLocalContainer>& parent, const QString& name);
    LocalFolder(const LocalFolder& other);
    LocalFolder& operator=(const LocalFolder&) = delete;

    ItemType itemType() const override { return LocalFolderItem; }
    bool isReadOnly() const override { return false; }
    bool isRootItem() const override { return false; }
    bool isCopyable() const override { return true; }
    bool isMovable() const override { return true; }
    bool isEditable() const override { return true; }
    bool isSelectable() const override { return true; }
    bool isDeletable() const override { return true; }
    bool isCopyableToClipboard() const override { return true; }

    QUrl url() const override { return QUrl::fromLocalFile(path()); }
    QString displayName() const override;
    QString displayPath() const override { return path(); }
    QString path() const override;
    QString name() const override { return nameRef().toString(); }
    QStringView nameRef() const;
    QSharedPointer<AbstractFolder> rootItem() const override;
    QSharedPointer<AbstractItem> clone() const override;
    bool acceptCopyFrom(const QSharedPointer<AbstractItem>& source) const override;

    QSharedPointer<AbstractLocalContainer> parent() const;

private:
    mutable FastMutex m_mutex;
    const QSharedPointer<AbstractLocalContainer> m_parent;
    const LocalPath m_path;
};

#endif
