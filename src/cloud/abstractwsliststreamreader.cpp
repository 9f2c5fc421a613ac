#include "cloud/abstractwsliststreamreader.h"

#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/driver.h"

AbstractWSListStreamReader::AbstractWSListStreamReader(
    const QSharedPointer<AbstractAccount>& account,
    const QSharedPointer<AbstractS3Folder>& container, const QByteArray& data,
    BrindleLib::EntryListMode entryListMode, const Filter& filter)
    : WSXmlStreamReader(account, data),
      m_container(container),
      m_containerPath(container ? container->path() : QString()),
      m_delimiter(container ? container->delimiter() : QLatin1Char('/')),
      m_entryListMode(entryListMode),
      m_filter(filter)
{
}

void AbstractWSListStreamReader::setFolderMap(
    const QHash<QString, QSharedPointer<AbstractWSFolder>>& folderMap)
{
    m_folderMap = folderMap;
}

void AbstractWSListStreamReader::clearList()
{
    m_files.clear();
    m_folders.clear();
}

void AbstractWSListStreamReader::retainKey(const QString& key)
{
    m_files.removeIf(
        [&key](const QSharedPointer<AbstractFile>& file) { return file->path() != key; });
}

AbstractWSListStreamReader::Entry AbstractWSListStreamReader::readEntry(const QString& element)
{
    enum Child { KeyChild = 1, VersionIdChild = 2, IsLatestChild = 4, LastModifiedChild = 8,
                 ETagChild = 16, SizeChild = 32, OwnerChild = 64, StorageClassChild = 128 };
    int seen = 0;
    // True the first time child comes up.
    auto first = [&seen](Child child) {
        const bool isFirst = !(seen & child);
        seen |= child;
        return isFirst;
    };

    Entry entry;
    while (readNextChildOf(element)) {
        const QStringView child = name();
        if (child == _keyXmlElement && first(KeyChild))
            entry.key = readText();
        else if (child == _versionIdXmlElement && first(VersionIdChild))
            entry.versionId = readText().toLatin1();
        else if (child == _isLatestXmlElement && first(IsLatestChild))
            entry.isLatest = readFlag();
        else if (child == _lastModifiedXmlElement && first(LastModifiedChild))
            entry.lastModified = dateFromXml(readText());
        else if (child == _eTagXmlElement && first(ETagChild))
            entry.md5 = md5FromETag(readText());
        else if (child == _sizeXmlElement && first(SizeChild))
            entry.size = readText().toLongLong();
        else if (child == _ownerXmlElement && first(OwnerChild))
            entry.owner = readOwner(AbstractUser::NoUserType);
        else if (child == _storageClassXmlElement && first(StorageClassChild))
            entry.storageClass = readText() == _reducedRedundancyXmlValue
                                     ? StorageDirective::ReducedRedundancyStorage
                                     : StorageDirective::StandardStorage;
    }
    m_hasContent = true;
    m_lastKey = entry.key;
    return entry;
}

bool AbstractWSListStreamReader::readListChild()
{
    if (name() == _commonPrefixesXmlElement)
        readPrefix();
    else if (name() == _isTruncatedXmlElement)
        m_isTruncated = readFlag();
    else
        return false;
    return true;
}

void AbstractWSListStreamReader::readPrefix()
{
    QString prefix;
    while (readNextChildOf(_commonPrefixesXmlElement)) {
        if (name() == _prefixXmlElement)
            prefix = readText();
    }
    m_hasContent = true;
    if (prefix.isEmpty() || prefix == m_containerPath)
        return;
    if (const QSharedPointer<AbstractWSFolder> folder =
            Driver::createFolder(prefix, m_container, QByteArray(), true))
        m_folders.append(folder);
}

bool AbstractWSListStreamReader::isFolderKey(const QString& key) const
{
    return key.endsWith(m_delimiter);
}

bool AbstractWSListStreamReader::isBelowContainer(const QString& key) const
{
    return !key.isEmpty() && key.startsWith(m_containerPath);
}

QSharedPointer<AbstractWSFolder> AbstractWSListStreamReader::folderObject(
    const QString& key, const QSharedPointer<AbstractUser>& owner)
{
    QSharedPointer<AbstractWSFolder> folder;
    if (key == m_containerPath) {
        // The listed folder's own object: neither a child folder nor a file.
        if (m_container && m_container->itemType() == AbstractItem::CloudFolderItem)
            folder = m_container.staticCast<AbstractWSFolder>();
    } else if (m_entryListMode == BrindleLib::ListSubtree) {
        folder = treeFolderFor(key).dynamicCast<AbstractWSFolder>();
        if (folder)
            folder->setOwner(owner);
    } else {
        folder = Driver::createFolder(key, m_container, QByteArray(), false);
        if (folder) {
            folder->setOwner(owner);
            m_folders.append(folder);
        }
    }
    if (folder)
        folder->setExistsFlag(true);
    return folder;
}

QSharedPointer<AbstractCloudFile> AbstractWSListStreamReader::addFile(
    const Entry& entry, const DeleteMarker& deleteMarker)
{
    const QSharedPointer<AbstractS3Folder> parent =
        m_entryListMode == BrindleLib::ListSubtree ? treeFolderFor(entry.key) : m_container;
    const QSharedPointer<AbstractCloudFile> file =
        Driver::createFile(entry.key, entry.size, entry.lastModified, entry.md5, parent,
                           entry.isLatest, entry.versionId, entry.owner, entry.storageClass);
    if (!file)
        return file;
    if (!deleteMarker.isNull())
        file->setDeleteMarker(deleteMarker);
    if (!m_filter.skip(file))
        m_files.append(file);
    return file;
}

QSharedPointer<AbstractS3Folder> AbstractWSListStreamReader::treeFolderFor(const QString& key)
{
    const qsizetype last = key.lastIndexOf(m_delimiter);
    if (last < m_containerPath.size())
        return m_container;
    // Keys come sorted, so most of them fall into a folder made already.
    if (const QSharedPointer<AbstractWSFolder> known = m_folderMap.value(key.left(last + 1)))
        return known;

    QSharedPointer<AbstractS3Folder> parent = m_container;
    for (qsizetype at = key.indexOf(m_delimiter, m_containerPath.size()); at >= 0 && at <= last;
         at = key.indexOf(m_delimiter, at + 1)) {
        const QString path = key.left(at + 1);
        QSharedPointer<AbstractWSFolder> folder = m_folderMap.value(path);
        if (!folder) {
            folder = Driver::createFolder(path, parent, QByteArray(), false);
            if (!folder)
                return parent;
            m_folderMap.insert(path, folder);
            m_folders.append(folder);
        }
        parent = folder;
    }
    return parent;
}

QString AbstractWSListStreamReader::pagingMarker(const QString& given) const
{
    // A store names the next marker only to a request with a delimiter.
    if (given.isEmpty() && m_isTruncated)
        return m_lastKey;
    return given;
}
