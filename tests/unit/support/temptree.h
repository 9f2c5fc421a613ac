#ifndef TEMPTREE_H
#define TEMPTREE_H

#include <QList>
#include <QSharedPointer>
#include <QStringList>

class AbstractFile;
class AbstractFolder;
class LocalFolder;

// Makes entries below root: "d/" is a folder, "f" a file whose content is its
// own relative path, "l -> target" a symbolic link. Returns false on any failure.
bool makeTree(const QString& root, const QStringList& entries);

// The folder at path as a local item, hanging on the root drive "/".
QSharedPointer<LocalFolder> localFolderAt(const QString& path);

// The paths of items relative to root, in list order.
QStringList relativePaths(const QString& root, const QList<QSharedPointer<AbstractFile>>& files);
QStringList relativePaths(const QString& root, const QList<QSharedPointer<AbstractFolder>>& folders);

#endif
