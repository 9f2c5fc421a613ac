#ifndef TEMPTREE_H
#define TEMPTREE_H

#include <QDir>
#include <QList>
#include <QSharedPointer>
#include <QStringList>

class LocalFolder;

// Makes entries below root: "d/" is a folder, "f" a file whose content is its
// own relative path, "l -> target" a symbolic link. Returns false on any failure.
bool makeTree(const QString& root, const QStringList& entries);

// The folder at path as a local item, hanging on the root drive "/".
QSharedPointer<LocalFolder> localFolderAt(const QString& path);

// The paths of items relative to root, in list order.
template<typename Item>
QStringList relativePaths(const QString& root, const QList<QSharedPointer<Item>>& items)
{
    QStringList paths;
    for (const QSharedPointer<Item>& item : items)
        paths.append(QDir(root).relativeFilePath(item->path()));
    return paths;
}

#endif
