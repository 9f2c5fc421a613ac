#ifndef ABSTRACTWSLISTSTREAMREADER_H
#define ABSTRACTWSLISTSTREAMREADER_H

#include <QHash>
#include <QList>

#include "cloud/wsxmlstreamreader.h"
#include "crypto/storagedirective.h"
#include "items/filter.h"
#include "items/deletemarker.h"
#include "util/brindlelib.h"

class AbstractCloudFile;
class AbstractFile;
class AbstractFolder;
class AbstractS3Folder;
class AbstractWSFolder;

// What the readers of a key listing and of a version listing share: the
// items of one page below the listed container, and the folder tree that a
// listing of a whole subtree (no delimiter) rebuilds from the flat keys.
//
// With ListOneLevel the folders are the common prefixes and the files the
// keys of this level. With ListSubtree every folder on the way to a key is
// made once, through folderMap, and holds the keys below it; a folder shows
// up even when the store has no object of its own for it.
class AbstractWSListStreamReader : public WSXmlStreamReader
{
public:
    bool isTruncated() const { return m_isTruncated; }
    // Whether the page named any key or prefix at all.
    bool hasContent() const { return m_hasContent; }
    QList<QSharedPointer<AbstractFile>> files() const { return m_files; }
    // The folders made by this page, each once.
    QList<QSharedPointer<AbstractFolder>> folders() const { return m_folders; }
    // The last key of the page, in document order.
    QString lastKey() const { return m_lastKey; }
    QSharedPointer<AbstractS3Folder> container() const { return m_container; }

    // The folders of the rebuilt tree by path. Handing one page's map to the
    // reader of the next page makes both use the same folder items, so a
    // folder's own object that comes on a later page marks the folder that
    // the earlier page made.
    QHash<QString, QSharedPointer<AbstractWSFolder>> folderMap() const { return m_folderMap; }
    void setFolderMap(const QHash<QString, QSharedPointer<AbstractWSFolder>>& folderMap);

    // Empties the lists of files and folders.
    void clearList();

    // Keeps only the files whose key is key: a listing by the prefix of one
    // object also names the keys that merely begin like it ("x1", "x/y").
    void retainKey(const QString& key);

protected:
    AbstractWSListStreamReader(const QSharedPointer<AbstractAccount>& account,
                               const QSharedPointer<AbstractS3Folder>& container,
                               const QByteArray& data, BrindleLib::EntryListMode entryListMode,
                               const Filter& filter);

    // One "Contents", "Version" or "DeleteMarker" element.
    struct Entry
    {
        QString key;
        QByteArray versionId;
        bool isLatest = true;
        QDateTime lastModified;
        QByteArray md5;
        qint64 size = -1;
        QSharedPointer<AbstractUser> owner;
        StorageDirective::StorageClass storageClass = StorageDirective::StandardStorage;
    };

    // Reads the entry element just entered, called element, each child once.
    // It counts as content and its key becomes lastKey().
    Entry readEntry(const QString& element);
    // Handles the children that both listings have ("CommonPrefixes",
    // "IsTruncated"); false for any other.
    bool readListChild();

    // Whether key names the object of a folder rather than a file.
    bool isFolderKey(const QString& key) const;
    // Whether key lies below the listed container; any other is no part of
    // its tree and is passed over.
    bool isBelowContainer(const QString& key) const;
    // The folder whose own object the folder key is, now marked as existing:
    // the container itself when the key is its path, else the folder of the
    // tree, or (one level) a new folder with owner. Null for a bucket's key.
    QSharedPointer<AbstractWSFolder> folderObject(const QString& key,
                                                  const QSharedPointer<AbstractUser>& owner);
    // Makes the file of entry in its folder, with the delete marker if there
    // is one, and lists it unless the filter skips it.
    QSharedPointer<AbstractCloudFile> addFile(const Entry& entry,
                                              const DeleteMarker& deleteMarker = DeleteMarker());
    // The marker to go on from: given, or when the page is truncated and the
    // store gave none, the last key of the page.
    QString pagingMarker(const QString& given) const;

private:
    void readPrefix();
    // The folder that holds key in the rebuilt tree, made with all the
    // folders above it when new; the container for a key at its level.
    QSharedPointer<AbstractS3Folder> treeFolderFor(const QString& key);

    const QSharedPointer<AbstractS3Folder> m_container;
    const QString m_containerPath;
    const QChar m_delimiter;
    const BrindleLib::EntryListMode m_entryListMode;
    const Filter m_filter;
    bool m_isTruncated = false;
    bool m_hasContent = false;
    QList<QSharedPointer<AbstractFile>> m_files;
    QList<QSharedPointer<AbstractFolder>> m_folders;
    QHash<QString, QSharedPointer<AbstractWSFolder>> m_folderMap;
    QString m_lastKey;
};

#endif
