#include "operations/localfolderlistatomicoperation.h"

#include <dirent.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "items/localfile.h"
#include "items/localfolder.h"
#include "operations/localoperationrunner.h"

LocalFolderListAtomicOperation::LocalFolderListAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractLocalContainer>& folder,
    BrindleLib::EntryListMode mode, BrindleLib::ListEntries entries, const Filter& filter)
    : folder(folder), mode(mode), entries(entries), filter(filter)
{
    setParent(parent);
}

LocalFolderListAtomicOperation* LocalFolderListAtomicOperation::clone(OperationGroup* parent) const
{
    return new LocalFolderListAtomicOperation(parent, folder, mode, entries, filter);
}

void LocalFolderListAtomicOperation::run(LocalOperationRunner& runner)
{
    runner.log(QStringLiteral("Path : ") + folder->displayPath());
    list(runner, folder);
}

void LocalFolderListAtomicOperation::list(LocalOperationRunner& runner,
                                          const QSharedPointer<AbstractLocalContainer>& container)
{
    QDir::Filters filters = QDir::NoDotAndDotDot | QDir::AllEntries;
    if (entries.testFlag(BrindleLib::IgnoreSymLinks))
        filters |= QDir::NoSymLinks;
    if (entries.testFlag(BrindleLib::IncludeHidden))
        filters |= QDir::Hidden;
    if (entries.testFlag(BrindleLib::IncludeSystem))
        filters |= QDir::System;

    // An unreadable folder gives an empty list and no error; it is reported
    // beside the lists so that a sync deletes nothing on its behalf.
    if (DIR* dir = ::opendir(QFile::encodeName(container->path()).constData()))
        ::closedir(dir);
    else
        unreadableFolders.append({container, qt_error_string(errno)});
    // The order is the file system's: sorting is the caller's business.
    const QFileInfoList entries = QDir(container->path()).entryInfoList(filters, QDir::NoSort);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir()) {
            const auto subfolder = QSharedPointer<LocalFolder>::create(container, entry.absoluteFilePath(),
                                                                       int(entry.fileName().size()));
            folders.append(subfolder);
            // Recursing at once keeps each folder's descendants right behind it.
            if (mode == BrindleLib::ListSubtree)
                list(runner, subfolder);
        } else if (entry.isFile()) {
            const QSharedPointer<AbstractFile> file = QSharedPointer<LocalFile>::create(
                container, entry.absoluteFilePath(), int(entry.fileName().size()), entry.lastModified(),
                entry.size());
            if (!filter.skip(file))
                files.append(file);
        }
        // Anything else, such as a link that leads nowhere, is left out.
    }
}
