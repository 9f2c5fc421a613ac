#include "cloud/wslistoperation.h"

#include "cloud/lists3versionsatomicoperation.h"
#include "cloud/wslistatomicoperation.h"
#include "items/abstractbucket.h"
#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"

WSListOperation::WSListOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& folder,
                                 BrindleLib::EntryListMode entryListMode,
                                 BrindleLib::ListVersionMode listVersionMode, const Filter& filter)
    : OperationGroup(parent), m_folder(folder), m_bucket(bucketOf(folder)), m_entryListMode(entryListMode),
      m_listVersionMode(listVersionMode), m_filter(filter)
{
}

WSListOperation::WSListOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file,
                                 BrindleLib::ListVersionMode listVersionMode)
    : OperationGroup(parent), m_file(file), m_bucket(bucketOf(file->folder())),
      m_entryListMode(BrindleLib::ListOneLevel), m_listVersionMode(listVersionMode)
{
}

QSharedPointer<AbstractBucket> WSListOperation::bucketOf(const QSharedPointer<AbstractS3Folder>& folder)
{
    QSharedPointer<AbstractS3Folder> current = folder;
    while (current && current->itemType() == AbstractItem::CloudFolderItem)
        current = current.staticCast<AbstractWSFolder>()->parent();
    return current.dynamicCast<AbstractBucket>();
}

void WSListOperation::prepareFirstOperation()
{
    if (!m_bucket) {
        setError(OpError(OpError::GeneralError, QString(), tr("No bucket above the listed folder"), QString()));
        return;
    }
    appendPage(nullptr);
}

void WSListOperation::appendPage(const AbstractWSListAtomicOperation* page)
{
    AbstractWSListAtomicOperation* next = nullptr;
    if (m_listVersionMode == BrindleLib::ListCurrentVersions) {
        const QString marker = page ? static_cast<const WSListAtomicOperation*>(page)->nextMarker : QString();
        if (m_file)
            next = new WSListAtomicOperation(this, m_bucket, m_file, marker, QString());
        else
            next = new WSListAtomicOperation(this, m_bucket, m_folder, marker,
                                             QString(), m_entryListMode, m_filter);
    } else {
        const auto* versions = static_cast<const ListS3VersionsAtomicOperation*>(page);
        const QString keyMarker = versions ? versions->nextKeyMarker : QString();
        const QByteArray versionIdMarker = versions ? versions->nextVersionIdMarker : QByteArray();
        if (m_file)
            next = new ListS3VersionsAtomicOperation(this, m_bucket, m_file, keyMarker,
                                                     versionIdMarker, QString());
        else
            next = new ListS3VersionsAtomicOperation(this, m_bucket, m_folder,
                                                     keyMarker, versionIdMarker, QString(), m_entryListMode,
                                                     m_filter);
    }
    if (page)
        next->setFolderMap(page->folderMap());
    appendThen(next, [this](AbstractWSListAtomicOperation* done) { pageFinished(done); });
}

void WSListOperation::pageFinished(AbstractWSListAtomicOperation* page)
{
    if (!page->error().isNull())
        return;
    files += page->files;
    for (const QSharedPointer<AbstractFolder>& folder : std::as_const(page->folders)) {
        const QString path = folder->path();
        if (m_seenFolders.contains(path))
            continue;
        m_seenFolders.insert(path);
        folders.append(folder);
    }
    if (page->hasNextPage() && !advances(page))
        setError(OpError(OpError::GeneralError, QString(),
                         tr("The listing of the store stays at the same page"), QString()));
    else if (page->hasNextPage())
        appendPage(page);
    page->clearList();
}

// A store that hands out the marker it was given would keep the run listing
// the same page for ever.
bool WSListOperation::advances(const AbstractWSListAtomicOperation* page) const
{
    if (m_listVersionMode == BrindleLib::ListCurrentVersions) {
        const auto* current = static_cast<const WSListAtomicOperation*>(page);
        return current->nextMarker != current->marker();
    }
    const auto* versions = static_cast<const ListS3VersionsAtomicOperation*>(page);
    return versions->nextKeyMarker != versions->keyMarker()
        || versions->nextVersionIdMarker != versions->versionIdMarker();
}

void WSListOperation::clearList()
{
    files.clear();
    folders.clear();
}
