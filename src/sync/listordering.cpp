#include "sync/listordering.h"

#include <algorithm>

#include <QFuture>
#include <QtConcurrent/QtConcurrentRun>

#include "items/abstractfile.h"
#include "items/abstractfolder.h"

int compareFolders(const QChar* a, int aLength, const QChar* aDelimiter, const QChar* b, int bLength,
                   const QChar* bDelimiter)
{
    const bool aIsShorter = aLength <= bLength;
    const QChar* shorter = aIsShorter ? a : b;
    const int shorterLength = aIsShorter ? aLength : bLength;
    const QChar delimiter = *(aIsShorter ? aDelimiter : bDelimiter);
    // The empty path is a bucket's root: it is not extended, so that the
    // root's own files come before those of `.config/` or `-old/`.
    const bool extended = shorterLength > 0 && shorter[shorterLength - 1] != delimiter;
    const int longerLength = aIsShorter ? bLength : aLength;
    const int limit = std::min(shorterLength + (extended ? 1 : 0), longerLength);

    for (int i = 0; i < limit; ++i) {
        const QChar ca = (aIsShorter && i == aLength) ? delimiter : a[i];
        const QChar cb = (!aIsShorter && i == bLength) ? delimiter : b[i];
        if (ca != cb)
            return int(ca.unicode()) - int(cb.unicode());
    }
    return aLength - bLength;
}

namespace {

int compareWithDelimiters(const QString& a, QChar aDelimiter, const QString& b, QChar bDelimiter)
{
    return compareFolders(a.constData(), int(a.size()), &aDelimiter, b.constData(), int(b.size()), &bDelimiter);
}

} // namespace

int compareFolderItems(const AbstractFolder& a, const AbstractFolder& b)
{
    // path() hands out the stored, shared string: no copy of the characters.
    return compareWithDelimiters(a.path(), a.delimiter(), b.path(), b.delimiter());
}

int compareFolderNames(const AbstractFolder& a, const AbstractFolder& b)
{
    return compareWithDelimiters(a.name(), a.delimiter(), b.name(), b.delimiter());
}

bool folderPtrLessThan(const QSharedPointer<AbstractFolder>& a, const QSharedPointer<AbstractFolder>& b)
{
    return compareFolderItems(*a, *b) < 0;
}

int compareFiles(const QSharedPointer<AbstractFile>& a, const QSharedPointer<AbstractFile>& b)
{
    const int byFolder = compareFolderItems(*a->parent(), *b->parent());
    if (byFolder != 0)
        return byFolder;
    const int byName = a->nameRef().compare(b->nameRef(), Qt::CaseSensitive);
    if (byName != 0)
        return byName;
    const QDateTime aModified = a->lastModified();
    const QDateTime bModified = b->lastModified();
    if (bModified < aModified)
        return -1;
    if (aModified < bModified)
        return 1;
    return 0;
}

bool contentPtrLessThean(const QSharedPointer<AbstractFile>& a, const QSharedPointer<AbstractFile>& b)
{
    return compareFiles(a, b) < 0;
}

void sortFolderPtrList(QList<QSharedPointer<AbstractFolder>>* folders)
{
    folders->detach();
    std::sort(folders->begin(), folders->end(), folderPtrLessThan);
}

void sortFilePtrList(QList<QSharedPointer<AbstractFile>>* files)
{
    files->detach();
    std::sort(files->begin(), files->end(), contentPtrLessThean);
}

void sortListsConcurrently(QList<QSharedPointer<AbstractFile>>* files,
                           QList<QSharedPointer<AbstractFolder>>* folders)
{
    QFuture<void> fileSort = QtConcurrent::run(sortFilePtrList, files);
    QFuture<void> folderSort = QtConcurrent::run(sortFolderPtrList, folders);
    folderSort.waitForFinished();
    fileSort.waitForFinished();
}
