#ifndef LISTORDERING_H
#define LISTORDERING_H

#include <QChar>
#include <QList>
#include <QSharedPointer>

class AbstractFile;
class AbstractFolder;

// The order on which the tree walks rest: a folder is directly followed by
// all its descendants, so a subtree is one unbroken run of a sorted list.
// The shorter path is compared as if it ended with its delimiter; equal
// stretches are told apart by length. Allocates nothing.
int compareFolders(const QChar* a, int aLength, const QChar* aDelimiter, const QChar* b, int bLength,
                   const QChar* bDelimiter);

// compareFolders on two folders' paths.
int compareFolderItems(const AbstractFolder& a, const AbstractFolder& b);
// Sibling folders in the order of their paths: a name compares as if it
// ended with its delimiter, so `x-y` comes before `x` and `x0` after it.
int compareFolderNames(const AbstractFolder& a, const AbstractFolder& b);

bool folderPtrLessThan(const QSharedPointer<AbstractFolder>& a, const QSharedPointer<AbstractFolder>& b);

// Files by parent folder, then by name, then newest first (versions of one object).
int compareFiles(const QSharedPointer<AbstractFile>& a, const QSharedPointer<AbstractFile>& b);
bool contentPtrLessThean(const QSharedPointer<AbstractFile>& a, const QSharedPointer<AbstractFile>& b);

void sortFolderPtrList(QList<QSharedPointer<AbstractFolder>>* folders);
void sortFilePtrList(QList<QSharedPointer<AbstractFile>>* files);

// Both sorts at once on the global thread pool; returns when both are done.
// Nobody else may touch the two lists meanwhile.
void sortListsConcurrently(QList<QSharedPointer<AbstractFile>>* files,
                           QList<QSharedPointer<AbstractFolder>>* folders);

#endif
