#include "items/localfolder.h"

#include <QFileInfo>

#include "items/abstractfile.h"

LocalFolder::LocalFolder(const QSharedPointer<AbstractLocalContainer>& parent, const QString& path,
                         int nameLength)
    : AbstractLocalContainer(parent->delimiter()), m_parent(parent), m_path{path, nameLength}
{
}

LocalFolder::LocalFolder(const QSharedPointer<AbstractLocalContainer>& parent, const QString& name)
    : AbstractLocalContainer(parent->delimiter()), m_parent(parent),
      m_path(LocalPath::under(*parent, name))
{
}

LocalFolder::LocalFolder(const LocalFolder& other)
    : AbstractLocalContainer(other.delimiter()), m_parent(other.parent()),
      m_path{other.path(), int(other.nameRef().size())}
{
}

QString LocalFolder::displayName() const
{
    FastMutexLocker locker(m_mutex);
    if (QFileInfo(m_path.path).isRoot())
        return m_path.path;
    return m_path.nameRef().toString();
}

QString LocalFolder::path() const
{
    FastMutexLocker locker(m_mutex);
    return m_path.path;
}

QStringView LocalFolder::nameRef() const
{
    FastMutexLocker locker(m_mutex);
    return m_path.nameRef();
}

QSharedPointer<AbstractFolder> LocalFolder::rootItem() const
{
    // The chain of local folders always ends at a drive.
    QSharedPointer<AbstractLocalContainer> container = parent();
    while (container->itemType() != DriveItem)
        container = container.staticCast<LocalFolder>()->parent();
    return container;
}

QSharedPointer<AbstractItem> LocalFolder::clone() const
{
    return QSharedPointer<LocalFolder>::create(*this);
}

QSharedPointer<AbstractLocalContainer> LocalFolder::parent() const { return lockedRead(m_mutex, m_parent); }

namespace {

// The URL of the folder that holds source, or an empty URL when that can't be
// known here. Only local folders and files can sit in a local folder.
QUrl parentUrl(const QSharedPointer<AbstractItem>& source)
{
    QSharedPointer<AbstractFolder> folder;
    if (source->itemType() == AbstractItem::LocalFolderItem)
        folder = source.staticCast<LocalFolder>()->parent();
    else if (source->nodeType() == AbstractItem::FileNode)
        folder = source.staticCast<AbstractFile>()->parent();
    return folder ? folder->url() : QUrl();
}

} // namespace

bool LocalFolder::acceptCopyFrom(const QSharedPointer<AbstractItem>& source) const
{
    if (!AbstractLocalContainer::acceptCopyFrom(source))
        return false;
    switch (source->itemType()) {
    case LocalFolderItem:
    case LocalFileItem:
    case CloudFolderItem:
    case CloudFileItem:
        return parentUrl(source) != url();
    default:
        return false;
    }
}
