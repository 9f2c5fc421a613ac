#include "items/drive.h"

#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"

Drive::Drive(QChar delimiter, const QString& path, const QSharedPointer<MyComputer>& parent)
    : AbstractLocalContainer(delimiter), m_path(path), m_parent(parent)
{
}

Drive::Drive(const Drive& other)
    : AbstractLocalContainer(other.delimiter()), m_path(other.path()), m_parent(other.parent()),
      m_shortcut(other.isShortcut())
{
}

QUrl Drive::url() const
{
    FastMutexLocker locker(m_mutex);
    if (m_cachedUrl.isEmpty())
        m_cachedUrl = QUrl::fromLocalFile(m_path);
    return m_cachedUrl;
}

QString Drive::path() const { return lockedRead(m_mutex, m_path); }

QSharedPointer<AbstractFolder> Drive::rootItem() const
{
    return QSharedPointer<Drive>::create(*this);
}

QSharedPointer<AbstractItem> Drive::clone() const
{
    return QSharedPointer<Drive>::create(*this);
}

QUrl Drive::realUrl() const
{
    return QUrl::fromLocalFile(path());
}

QSharedPointer<MyComputer> Drive::parent() const { return lockedRead(m_mutex, m_parent); }
bool Drive::isShortcut() const { return lockedRead(m_mutex, m_shortcut); }
void Drive::setShortcut(bool shortcut) { lockedWrite(m_mutex, m_shortcut, shortcut); }

LocalFile* Drive::childFile(const QString& name) const
{
    return new LocalFile(QSharedPointer<Drive>::create(*this), name);
}

LocalFolder* Drive::childContainer(const QString& name) const
{
    return new LocalFolder(QSharedPointer<Drive>::create(*this), name);
}
