#include "sync/syncplanner.h"

#include <QCoreApplication>

#include "items/abstractcloudfile.h"
#include "sync/listordering.h"
#include "sync/localnames.h"

QString SyncAction::reasonText(Reason reason)
{
    switch (reason) {
    case NotInDestination:
        return QCoreApplication::translate("SyncAction", "not in the destination");
    case NotInSource:
        return QCoreApplication::translate("SyncAction", "not in the source");
    case SizeDiffers:
        return QCoreApplication::translate("SyncAction", "size differs");
    case Md5Differs:
        return QCoreApplication::translate("SyncAction", "MD5 differs");
    case ContentDiffers:
        return QCoreApplication::translate("SyncAction", "content differs");
    case ContentToCompare:
        return QCoreApplication::translate("SyncAction", "content to compare");
    case DestinationNewer:
        return QCoreApplication::translate("SyncAction", "destination is newer, --keep-new");
    case ReplaceRefused:
        return QCoreApplication::translate("SyncAction", "--dont-replace");
    case EqualContent:
        return QCoreApplication::translate("SyncAction", "equal");
    case ClimbingKey:
        return QCoreApplication::translate("SyncAction", "key would leave the destination folder");
    case NoReason:
        break;
    }
    return QString();
}

bool SyncPlanner::Listings::isEmpty() const
{
    return sourceFolders.isEmpty() && sourceFiles.isEmpty() && destinationFolders.isEmpty()
        && destinationFiles.isEmpty();
}

SyncPlanner::SyncPlanner(SyncJob::Options options, bool keysBecomeLocalPaths)
    : m_options(options), m_keysBecomeLocalPaths(keysBecomeLocalPaths)
{
}

namespace {

// A merge of unsorted lists would take twins for lone entries and delete them.
const char outOfOrderText[] = "Listing out of order: '%2' after '%1'; nothing below was changed";
QString outOfOrderMessage(const QString& before, const QString& at)
{
    return QCoreApplication::translate("SyncPlanner", outOfOrderText).arg(before, at);
}

// The files directly in `folder` lead its sorted list: take them, and stop
// at the first one that lies deeper. On two of them out of order, takes
// nothing and sets `error`.
bool takeDirectFiles(const QSharedPointer<AbstractFolder>& folder, SyncPlanner::FileList& files,
                     SyncPlanner::FileList* direct, QString* error)
{
    const QString folderPath = folder->path();
    qsizetype skip = folderPath.length();
    if (!folderPath.endsWith(folder->delimiter()) && folder->itemType() != AbstractItem::BucketItem)
        ++skip;
    qsizetype count = 0;
    for (; count < files.size(); ++count) {
        const QSharedPointer<AbstractFile>& file = files.at(count);
        const QChar delimiter = file->parent() ? file->parent()->delimiter() : folder->delimiter();
        if (QStringView(file->path()).mid(skip).indexOf(delimiter, 0, Qt::CaseSensitive) >= 0)
            break;
        if (count > 0 && files.at(count - 1)->nameRef().compare(file->nameRef(), Qt::CaseSensitive) > 0) {
            *error = outOfOrderMessage(files.at(count - 1)->displayPath(), file->displayPath());
            return false;
        }
    }
    *direct = files.mid(0, count);
    files.remove(0, count);
    return true;
}

// Moves the folders and files below `folder` off the front of the lists.
void takeSlice(const QSharedPointer<AbstractFolder>& folder, SyncPlanner::FolderList& folders,
               SyncPlanner::FileList& files, SyncPlanner::FolderList* folderSlice, SyncPlanner::FileList* fileSlice)
{
    QString prefix = folder->path();
    if (!prefix.endsWith(folder->delimiter()))
        prefix += folder->delimiter();
    qsizetype count = 0;
    while (count < folders.size() && folders.at(count)->path().startsWith(prefix, Qt::CaseSensitive))
        ++count;
    *folderSlice = folders.mid(0, count);
    folders.remove(0, count);
    count = 0;
    while (count < files.size() && files.at(count)->path().startsWith(prefix, Qt::CaseSensitive))
        ++count;
    *fileSlice = files.mid(0, count);
    files.remove(0, count);
}

SyncAction fileAction(SyncAction::Kind kind, SyncAction::Reason reason, const QSharedPointer<AbstractFile>& file,
                      const QSharedPointer<AbstractFile>& twin = {})
{
    SyncAction action{kind, reason, file, twin, {}, {}, {}, {}, {}, {}};
    return action;
}

} // namespace

bool SyncPlanner::planFolder(const QSharedPointer<AbstractFolder>& source,
                             const QSharedPointer<AbstractFolder>& destination, Listings& listings,
                             QVector<SyncAction>* actions, QString* error) const
{
    QVector<SyncAction> planned;
    if (!planFiles(source, destination, listings, &planned, error) || !planFolders(listings, &planned, error))
        return false;
    *actions += planned;
    return true;
}

bool SyncPlanner::planFiles(const QSharedPointer<AbstractFolder>& source,
                            const QSharedPointer<AbstractFolder>& destination, Listings& listings,
                            QVector<SyncAction>* actions, QString* error) const
{
    FileList sources, destinations;
    if (!takeDirectFiles(source, listings.sourceFiles, &sources, error)
        || !takeDirectFiles(destination, listings.destinationFiles, &destinations, error))
        return false;
    // A merge of the two name-sorted runs.
    qsizetype s = 0, d = 0;
    while (s < sources.size() || d < destinations.size()) {
        int order = 0;
        if (s == sources.size())
            order = 1;
        else if (d == destinations.size())
            order = -1;
        else
            order = sources.at(s)->nameRef().compare(destinations.at(d)->nameRef(), Qt::CaseSensitive);
        if (order < 0) {
            const QSharedPointer<AbstractFile>& file = sources.at(s++);
            if (m_keysBecomeLocalPaths && !isSafeLocalName(file->nameRef()))
                skipClimbing(file, actions);
            else if (!has(SyncJob::DontAdd))
                actions->append(fileAction(SyncAction::CopyNew, SyncAction::NotInDestination, file));
        } else if (order > 0) {
            const QSharedPointer<AbstractFile>& file = destinations.at(d++);
            if (!has(SyncJob::DontDelete))
                actions->append(fileAction(SyncAction::DeleteFile, SyncAction::NotInSource, file));
        } else {
            planFilePair(sources.at(s++), destinations.at(d++), actions);
        }
    }
    return true;
}

void SyncPlanner::planFilePair(const QSharedPointer<AbstractFile>& source,
                               const QSharedPointer<AbstractFile>& destination, QVector<SyncAction>* actions) const
{
    if (has(SyncJob::KeepNew) && source->lastModified() < destination->lastModified()) {
        actions->append(fileAction(SyncAction::Keep, SyncAction::DestinationNewer, source, destination));
        return;
    }
    if (has(SyncJob::DontReplace)) {
        actions->append(fileAction(SyncAction::Keep, SyncAction::ReplaceRefused, source, destination));
        return;
    }
    const SyncAction::Reason reason = contentCheck(*source, *destination);
    const SyncAction::Kind kind = reason == SyncAction::EqualContent ? SyncAction::Unchanged
        : reason == SyncAction::ContentToCompare                     ? SyncAction::Compare
                                                                     : SyncAction::Replace;
    actions->append(fileAction(kind, reason, source, destination));
}

SyncAction::Reason SyncPlanner::contentCheck(const AbstractFile& source, const AbstractFile& destination)
{
    // Two objects compare on the MD5s their listings gave.
    if (source.fileSystemClass() == AbstractFS::CloudClass && destination.fileSystemClass() == AbstractFS::CloudClass) {
        const bool equal = static_cast<const AbstractCloudFile&>(source).md5sum()
            == static_cast<const AbstractCloudFile&>(destination).md5sum();
        return equal ? SyncAction::EqualContent : SyncAction::Md5Differs;
    }
    // Two local files of other sizes differ without a read. Anything else
    // needs a head request or a local MD5, which the comparison does lazily.
    const bool bothLocal = source.fileSystemType() == AbstractFS::LocalFileSystem
        && destination.fileSystemType() == AbstractFS::LocalFileSystem;
    if (bothLocal && source.size() != -1 && destination.size() != -1 && source.size() != destination.size())
        return SyncAction::SizeDiffers;
    return SyncAction::ContentToCompare;
}

bool SyncPlanner::planFolders(Listings& listings, QVector<SyncAction>* actions, QString* error) const
{
    QSharedPointer<AbstractFolder> lastSource, lastDestination;
    while (!listings.sourceFolders.isEmpty() || !listings.destinationFolders.isEmpty()) {
        const QSharedPointer<AbstractFolder> sourceHead = listings.sourceFolders.value(0);
        const QSharedPointer<AbstractFolder> destinationHead = listings.destinationFolders.value(0);
        // Each side's folders must come in ascending order, or the pairing
        // below would take existing folders for lone ones.
        const bool sourceBack = sourceHead && lastSource && compareFolderItems(*lastSource, *sourceHead) >= 0;
        const bool destinationBack =
            destinationHead && lastDestination && compareFolderItems(*lastDestination, *destinationHead) >= 0;
        if (sourceBack || destinationBack) {
            const QSharedPointer<AbstractFolder>& at = sourceBack ? sourceHead : destinationHead;
            const QSharedPointer<AbstractFolder>& before = sourceBack ? lastSource : lastDestination;
            *error = outOfOrderMessage(before->displayPath(), at->displayPath());
            return false;
        }
        int order = !sourceHead ? 1 : !destinationHead ? -1 : compareFolderNames(*sourceHead, *destinationHead);
        SyncAction action{SyncAction::SyncFolder, SyncAction::NoReason, {}, {}, {}, {}, {}, {}, {}, {}};
        if (order <= 0) {
            lastSource = listings.sourceFolders.takeFirst();
            action.folder = lastSource;
            takeSlice(lastSource, listings.sourceFolders, listings.sourceFiles, &action.folders, &action.files);
        }
        if (order >= 0) {
            lastDestination = listings.destinationFolders.takeFirst();
            action.twinFolder = lastDestination;
            takeSlice(lastDestination, listings.destinationFolders, listings.destinationFiles, &action.twinFolders,
                      &action.twinFiles);
        }
        if (order == 0) {
            // Two empty folders are left in peace.
            if (!action.folders.isEmpty() || !action.files.isEmpty() || !action.twinFolders.isEmpty()
                || !action.twinFiles.isEmpty())
                actions->append(action);
        } else if (order < 0) {
            if (m_keysBecomeLocalPaths && !isSafeLocalName(action.folder->name())) {
                // Nothing below a climbing folder is fetched: each key is named,
                // or the folder's own when it holds none.
                if (action.files.isEmpty())
                    actions->append({SyncAction::SkipKey, SyncAction::ClimbingKey, {}, {}, action.folder,
                                     {}, {}, {}, {}, {}});
                for (const QSharedPointer<AbstractFile>& file : std::as_const(action.files))
                    skipClimbing(file, actions);
            } else if (!has(SyncJob::DontAdd)) {
                action.kind = SyncAction::NewFolder;
                action.reason = SyncAction::NotInDestination;
                actions->append(action);
            }
        } else if (!has(SyncJob::DontDelete)) {
            action.kind = SyncAction::DeleteFolder;
            action.reason = SyncAction::NotInSource;
            action.folder = std::exchange(action.twinFolder, {});
            action.folders = std::exchange(action.twinFolders, {});
            action.files = std::exchange(action.twinFiles, {});
            actions->append(action);
        }
    }
    return true;
}

void SyncPlanner::skipClimbing(const QSharedPointer<AbstractFile>& file, QVector<SyncAction>* actions) const
{
    actions->append(fileAction(SyncAction::SkipKey, SyncAction::ClimbingKey, file));
}
