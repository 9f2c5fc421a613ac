#include "items/localfile.h"

#include <QFileInfo>

LocalFile::LocalFile(const QSharedPointer<AbstractLocalContainer>& parent, const QString& path,
                     int nameLength, const QDateTime& lastModified, qint64 size)
    : AbstractFile(parent), m_path{path, nameLength}, m_lastModified(lastModified), m_size(size)
{
}

LocalFile::LocalFile(const QSharedPointer<AbstractLocalContainer>& parent, const QString& name)
    : AbstractFile(parent), m_path(LocalPath::under(*parent, name)), m_size(0)
{
}

LocalFile::LocalFile(const LocalFile& other)
    : AbstractFile(other), m_path{other.path(), int(other.nameRef().size())},
      m_lastModified(other.lastModified()), m_size(other.size())
{
}

QSharedPointer<AbstractItem> LocalFile::clone() const
{
    return QSharedPointer<LocalFile>::create(*this);
}

QString LocalFile::path() const
{
    FastMutexLocker locker(m_mutex);
    return m_path.path;
}

QDateTime LocalFile::lastModified() const { return lockedRead(m_mutex, m_lastModified); }
qint64 LocalFile::size() const { return lockedRead(m_mutex, m_size); }

QStringView LocalFile::nameRef() const
{
    FastMutexLocker locker(m_mutex);
    return m_path.nameRef();
}

QSharedPointer<AbstractFolder> LocalFile::rootItem() const
{
    const QSharedPointer<AbstractFolder> folder = parent();
    if (folder->itemType() == DriveItem)
        return folder;
    return folder->rootItem();
}

void LocalFile::refreshSize()
{
    const qint64 size = QFileInfo(path()).size();
    FastMutexLocker locker(m_mutex);
    m_size = size;
}

QPair<qint64, qint64> LocalFile::diskStamp() const
{
    const QFileInfo info(path());
    return {info.size(), info.exists() ? info.lastModified().toMSecsSinceEpoch() : -1};
}

QByteArray LocalFile::knownMd5() const
{
    QByteArray md5;
    QPair<qint64, qint64> stamp;
    {
        FastMutexLocker locker(m_mutex);
        md5 = m_knownMd5;
        stamp = m_knownMd5Stamp;
    }
    return !md5.isEmpty() && diskStamp() == stamp ? md5 : QByteArray();
}

void LocalFile::setKnownMd5(const QByteArray& md5, const QPair<qint64, qint64>& stampBeforeRead)
{
    // Changed while it was read: the digest belongs to no one state of the file.
    if (diskStamp() != stampBeforeRead)
        return;
    FastMutexLocker locker(m_mutex);
    m_knownMd5 = md5;
    m_knownMd5Stamp = stampBeforeRead;
}
