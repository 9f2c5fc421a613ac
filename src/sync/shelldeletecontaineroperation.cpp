#include "sync/shelldeletecontaineroperation.h"

#include <QStringView>

#include "items/filter.h"
#include "sync/listordering.h"
#include "sync/shelldeletefileoperation.h"
#include "sync/shelldeletevirtualfolderoperation.h"
#include "sync/shelllistfolderoperation.h"

namespace {

// Whether file lies directly in the folder whose path is folderPath.
bool isDirectChild(const QString& folderPath, QChar folderDelimiter, const AbstractFile& file)
{
    const QString path = file.path();
    const qsizetype skip = folderPath.size() + (folderPath.endsWith(folderDelimiter) ? 0 : 1);
    return !QStringView(path).mid(skip).contains(file.parent()->delimiter());
}

// Moves the leading run of list whose items satisfy belongs into the result,
// in one step: the lists can be long.
template<typename Item, typename Predicate>
QList<QSharedPointer<Item>> takeLeadingRun(QList<QSharedPointer<Item>>* list, Predicate belongs)
{
    qsizetype count = 0;
    while (count < list->size() && belongs(*list->at(count)))
        ++count;
    QList<QSharedPointer<Item>> run = list->mid(0, count);
    list->remove(0, count);
    return run;
}

template<typename Item>
QList<QSharedPointer<Item>> takeLeadingRun(QList<QSharedPointer<Item>>* list, const QString& prefix)
{
    return takeLeadingRun(list, [&prefix](const Item& item) { return item.path().startsWith(prefix); });
}

} // namespace

ShellDeleteContainerOperation::ShellDeleteContainerOperation(OperationGroup* parent,
                                                             const QSharedPointer<AbstractFolder>& folder,
                                                             bool allVersions)
    : AbstractShellOperation(parent), folder(folder), listed(false), allVersions(allVersions)
{
}

ShellDeleteContainerOperation::ShellDeleteContainerOperation(OperationGroup* parent,
                                                             const QSharedPointer<AbstractFolder>& folder,
                                                             const QList<QSharedPointer<AbstractFolder>>& folders,
                                                             const QList<QSharedPointer<AbstractFile>>& files,
                                                             bool allVersions)
    : AbstractShellOperation(parent), folder(folder), folders(folders), files(files), listed(true),
      allVersions(allVersions)
{
    processFolder(folder);
}

void ShellDeleteContainerOperation::prepareFirstOperation()
{
    if (listed)
        return;
    // Links are not followed: a deletion must never reach into another tree.
    const auto versions = allVersions ? BrindleLib::ListAllVersions : BrindleLib::ListCurrentVersions;
    appendThen(new ShellListFolderOperation(this, folder, BrindleLib::ListSubtree, versions,
                                            BrindleLib::IncludeHidden | BrindleLib::IncludeSystem
                                                | BrindleLib::IgnoreSymLinks,
                                            Filter()),
               [this](ShellListFolderOperation* listing) { takeListing(listing); });
}

void ShellDeleteContainerOperation::takeListing(ShellListFolderOperation* listing)
{
    if (!listing->error().isNull())
        return;
    files = listing->files;
    folders = listing->folders;
    listing->clearList();
    sortListsConcurrently(&files, &folders);
    listed = true;
    processFolder(folder);
}

void ShellDeleteContainerOperation::processFolder(const QSharedPointer<AbstractFolder>& current)
{
    const QString currentPath = current->path();
    const QChar delimiter = current->delimiter();

    // The sort puts the files directly in the folder first.
    const QList<QSharedPointer<AbstractFile>> ownFiles = takeLeadingRun(
        &files, [&](const AbstractFile& file) { return isDirectChild(currentPath, delimiter, file); });

    // Each sub-folder's subtree is a leading run of both sorted lists.
    while (!folders.isEmpty()) {
        const QSharedPointer<AbstractFolder> sub = folders.takeFirst();
        QString prefix = sub->path();
        if (!prefix.endsWith(sub->delimiter()))
            prefix += sub->delimiter();
        const auto subFolders = takeLeadingRun(&folders, prefix);
        const auto subFiles = takeLeadingRun(&files, prefix);
        if (subFolders.isEmpty() && subFiles.isEmpty())
            append(new ShellDeleteVirtualFolderOperation(this, sub, allVersions));
        else
            append(new ShellDeleteContainerOperation(this, sub, subFolders, subFiles, allVersions));
    }

    for (auto it = ownFiles.crbegin(); it != ownFiles.crend(); ++it)
        append(new ShellDeleteFileOperation(this, *it, allVersions));

    auto* own = new ShellDeleteVirtualFolderOperation(this, current, allVersions);
    // A local folder can only go once it is empty; a cloud folder is only a
    // key and goes alongside its contents.
    if (current->fileSystemClass() == AbstractFS::LocalClass)
        own->setWaitForPrevious(true);
    append(own);
}
