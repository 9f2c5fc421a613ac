#include "sync/shellsynccontaineroperation.h"

#include "items/filter.h"
#include "cloud/gets3containeracloperation.h"
#include "items/driver.h"
#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/localfolder.h"
#include "sync/folderexistsoperation.h"
#include "sync/listordering.h"
#include "sync/comparefilecontentforsyncoperation.h"
#include "sync/shellcopyfileoperation.h"
#include "sync/shellcreatefolderoperation.h"
#include "sync/shelldeletecontaineroperation.h"
#include "sync/shelldeletefileoperation.h"
#include "sync/shelllistfolderoperation.h"
#include "sync/shellplannedoperation.h"
#include "sync/syncplanner.h"
#include "sync/syncsummary.h"

QString ShellSyncContainerOperation::_compareStr = ShellSyncContainerOperation::tr("Compare");

ShellSyncContainerOperation::ShellSyncContainerOperation(
    OperationGroup* parent, AbstractShellOperation* shellOperation, const QSharedPointer<AbstractFolder>& source,
    const QSharedPointer<AbstractFolder>& destination, const SyncJob& job, const TransferSettings& settings)
    : AbstractShellOperation(parent), m_shellOperation(shellOperation ? shellOperation : this), m_source(source),
      m_destination(destination), m_syncJob(job), m_settings(settings)
{
}

ShellSyncContainerOperation::ShellSyncContainerOperation(
    OperationGroup* parent, AbstractShellOperation* shellOperation, const QSharedPointer<AbstractFolder>& source,
    const QSharedPointer<AbstractFolder>& destination, const SyncJob& job, const FolderList& sourceFolders,
    const FileList& sourceFiles, const FolderList& destinationFolders, const FileList& destinationFiles,
    bool createDestination, const QSharedPointer<AbstractAcl>& acl, const TransferSettings& settings)
    : ShellSyncContainerOperation(parent, shellOperation, source, destination, job, settings)
{
    m_sourceListed = true;
    m_destinationListed = true;
    m_subOperation = true;
    m_listings = {sourceFolders, destinationFolders, sourceFiles, destinationFiles};
    m_createDestination = createDestination;
    m_acl = acl;
    if (m_createDestination) {
        appendCreateDestination();
        processFolder();
    } else if (wantsContainerAcl() && !m_acl) {
        appendContainerAcl();
    } else {
        processFolder();
    }
}

QString ShellSyncContainerOperation::name() const
{
    return _compareStr;
}

AbstractShellOperation* ShellSyncContainerOperation::shellOperationForChildren() const
{
    // The operation itself is passed on as null so that each child uses itself.
    return m_shellOperation == this ? nullptr : m_shellOperation;
}

void ShellSyncContainerOperation::appendCreateDestination()
{
    QSharedPointer<AbstractFolder> parentFolder;
    if (m_destination->itemType() == AbstractItem::LocalFolderItem)
        parentFolder = m_destination.staticCast<LocalFolder>()->parent();
    else if (m_destination->itemType() == AbstractItem::CloudFolderItem)
        parentFolder = m_destination.staticCast<AbstractWSFolder>()->parent();
    if (hasOption(SyncJob::DryRun))
        ShellPlannedOperation::appendLine(this, ShellCreateFolderOperation::tr("Create folder"),
                                          m_destination->displayPath(), QString(),
                                          SyncAction::reasonText(SyncAction::NotInDestination));
    else
        append(new ShellCreateFolderOperation(this, parentFolder, m_destination->name(), newItemAcl(), false));
}

void ShellSyncContainerOperation::prepareFirstOperation()
{
    if (m_sourceListed)
        return;
    SyncSummary::instance().start();
    // A sync never asks whether to overwrite.
    AbstractOperation* top = topLevelOperation();
    if (top->isGroup())
        static_cast<OperationGroup*>(top)->setOverwriteMode(BrindleLib::OverwriteAlways);
    appendExists(true);
}

// The source is checked first, then the destination, then both are listed.
void ShellSyncContainerOperation::appendExists(bool source)
{
    appendThen(new FolderExistsOperation(this, source ? m_source : m_destination),
               [this, source](FolderExistsOperation* done) {
                   if (done->error().isNull())
                       existsChecked(done->exists, source);
               });
}

void ShellSyncContainerOperation::existsChecked(bool exists, bool source)
{
    if (exists) {
        if (source)
            appendExists(false);
        else
            list();
        return;
    }
    const QSharedPointer<AbstractFolder>& folder = source ? m_source : m_destination;
    setError(OpError(OpError::GeneralError, QString(), tr("Folder '%1' not found").arg(folder->displayPath()),
                     QString()));
}

void ShellSyncContainerOperation::list()
{
    const SyncJob::Options options = m_syncJob.options();
    BrindleLib::ListEntries links;
    links.setFlag(BrindleLib::IgnoreSymLinks, options.testFlag(SyncJob::IgnoreSymbolicLinks));
    BrindleLib::ListEntries sourceEntries = links;
    sourceEntries.setFlag(BrindleLib::IncludeHidden, !options.testFlag(SyncJob::IgnoreHiddenFiles));
    sourceEntries.setFlag(BrindleLib::IncludeSystem, !options.testFlag(SyncJob::IgnoreSystemFiles));
    auto* source = new ShellListFolderOperation(this, m_source, BrindleLib::ListSubtree,
                                                BrindleLib::ListCurrentVersions, sourceEntries, m_syncJob.filter());
    appendThen(source, [this](ShellListFolderOperation* done) {
        if (!done->error().isNull())
            return;
        m_unreadable = done->unreadableFolders;
        takeListing(done, m_listings.sourceFolders, m_listings.sourceFiles, m_sourceListed);
        processFolderWhenListed();
    });
    // The destination is listed in full: what the source leaves out has no
    // twin there and is deleted.
    auto* destination = new ShellListFolderOperation(
        this, m_destination, BrindleLib::ListSubtree, BrindleLib::ListCurrentVersions,
        links | BrindleLib::IncludeHidden | BrindleLib::IncludeSystem, Filter());
    appendThen(destination, [this](ShellListFolderOperation* done) {
        if (!done->error().isNull())
            return;
        takeListing(done, m_listings.destinationFolders, m_listings.destinationFiles, m_destinationListed);
        if (wantsContainerAcl())
            appendContainerAcl();
        else
            processFolderWhenListed();
    });
}

void ShellSyncContainerOperation::processFolderWhenListed()
{
    if (m_sourceListed && m_destinationListed && !m_containerAclPending)
        processFolder();
}

void ShellSyncContainerOperation::takeListing(ShellListFolderOperation* listing, FolderList& folders,
                                              FileList& files, bool& listed)
{
    folders = listing->folders;
    files = listing->files;
    listing->clearList();
    sortListsConcurrently(&files, &folders);
    listed = true;
}

namespace {

// `path` as a folder path that ends with its delimiter.
QString withDelimiter(const QString& path, QChar delimiter)
{
    return path.isEmpty() || path.endsWith(delimiter) ? path : path + delimiter;
}

template<typename List>
void removeAtOrUnder(List& items, const QString& prefix, QChar delimiter)
{
    items.removeIf([&](const auto& item) {
        return withDelimiter(item->path(), delimiter).startsWith(prefix, Qt::CaseSensitive);
    });
}

} // namespace

// A source folder that could not be read was listed as empty. Taking that
// for the truth would delete its backup: the folder and its counterpart
// leave the walk, and an error names it.
void ShellSyncContainerOperation::setAsideUnreadable()
{
    const QList<LocalFolderListAtomicOperation::Unreadable> unreadable = std::exchange(m_unreadable, {});
    const QString sourceRoot = withDelimiter(m_source->path(), m_source->delimiter());
    const QString destinationRoot = m_destination->itemType() == AbstractItem::BucketItem
        ? QString()
        : withDelimiter(m_destination->path(), m_destination->delimiter());
    for (const LocalFolderListAtomicOperation::Unreadable& entry : unreadable) {
        SyncSummary::instance().addFailed();
        ShellPlannedOperation::appendSkip(
            m_shellOperation, entry.folder->displayPath(),
            ShellPlannedOperation::unreadableFolderMessage(entry.folder->displayPath(), entry.reason));
        const QString folderPath = withDelimiter(entry.folder->path(), entry.folder->delimiter());
        // The root itself has the empty relative path: all is set aside.
        QString relative = folderPath.mid(sourceRoot.size());
        relative.replace(m_source->delimiter(), m_destination->delimiter());
        removeAtOrUnder(m_listings.sourceFolders, folderPath, m_source->delimiter());
        removeAtOrUnder(m_listings.sourceFiles, folderPath, m_source->delimiter());
        removeAtOrUnder(m_listings.destinationFolders, destinationRoot + relative, m_destination->delimiter());
        removeAtOrUnder(m_listings.destinationFiles, destinationRoot + relative, m_destination->delimiter());
    }
}

void ShellSyncContainerOperation::processFolder()
{
    if (!m_unreadable.isEmpty())
        setAsideUnreadable();
    if (m_listings.isEmpty())
        return;
    QVector<SyncAction> actions;
    QString error;
    const SyncPlanner planner(m_syncJob.options(), keysBecomeLocalPaths());
    if (!planner.planFolder(m_source, m_destination, m_listings, &actions, &error)) {
        setError(OpError(OpError::GeneralError, QString(), error, QString()));
        return;
    }
    for (const SyncAction& action : std::as_const(actions))
        execute(action);
}

// Turns one decision into the operations that carry it out; in a dry run,
// into the lines that tell it.
void ShellSyncContainerOperation::execute(const SyncAction& action)
{
    const bool dryRun = hasOption(SyncJob::DryRun);
    switch (action.kind) {
    case SyncAction::CopyNew:
    case SyncAction::Replace:
        scheduleCopy(action.file, action.reason);
        break;
    case SyncAction::Compare:
        appendThen(new CompareFileContentForSyncOperation(this, action.file, action.twin, m_destination),
                   [this](CompareFileContentForSyncOperation* done) { compared(done); });
        break;
    case SyncAction::DeleteFile:
    case SyncAction::DeleteFolder: {
        const QString path = action.file ? action.file->displayPath() : action.folder->displayPath();
        if (dryRun)
            ShellPlannedOperation::appendLine(m_shellOperation, ShellDeleteFileOperation::tr("Delete"), path,
                                              QString(), SyncAction::reasonText(action.reason));
        else if (action.file)
            m_shellOperation->appendThen(new ShellDeleteFileOperation(this, action.file, false),
                                         [](AbstractOperation* done) { countDeleted(done, 1); });
        else
            m_shellOperation->appendThen(new ShellDeleteContainerOperation(m_shellOperation, action.folder,
                                                                           action.folders, action.files, false),
                                         [files = int(action.files.size())](AbstractOperation* done) {
                                             countDeleted(done, files);
                                         });
        break;
    }
    case SyncAction::SyncFolder:
        appendSubOperation(action.folder, action.twinFolder, action, false);
        break;
    case SyncAction::NewFolder:
        appendSubOperation(action.folder, Driver::createChildFolder(m_destination, action.folder->name()), action,
                           true);
        break;
    case SyncAction::SkipKey: {
        const QString key = action.file ? action.file->path() : action.folder->path();
        const QString displayPath = action.file ? action.file->displayPath() : action.folder->displayPath();
        ShellPlannedOperation::appendSkip(m_shellOperation, displayPath,
                                          ShellPlannedOperation::climbingKeyMessage(key));
        SyncSummary::instance().addFailed();
        break;
    }
    case SyncAction::Keep:
        if (dryRun)
            ShellPlannedOperation::appendLine(m_shellOperation, tr("Keep"), action.twin->displayPath(), QString(),
                                              SyncAction::reasonText(action.reason));
        SyncSummary::instance().addUnchanged(1);
        break;
    case SyncAction::Unchanged:
        SyncSummary::instance().addUnchanged(1);
        break;
    }
}

// A failed comparison leaves the file alone; its error stays in the tree.
void ShellSyncContainerOperation::compared(CompareFileContentForSyncOperation* compare)
{
    if (!compare->error().isNull())
        SyncSummary::instance().addFailed();
    else if (!compare->identical())
        scheduleCopy(compare->source(), SyncAction::ContentDiffers);
    else
        SyncSummary::instance().addUnchanged(1);
}

void ShellSyncContainerOperation::countDeleted(AbstractOperation* done, int files)
{
    if (done->error().isNull())
        SyncSummary::instance().addDeleted(files);
    else
        SyncSummary::instance().addFailed(false);
}

bool ShellSyncContainerOperation::keysBecomeLocalPaths() const
{
    return m_source->fileSystemClass() == AbstractFS::CloudClass
        && m_destination->fileSystemClass() == AbstractFS::LocalClass;
}

void ShellSyncContainerOperation::appendSubOperation(const QSharedPointer<AbstractFolder>& source,
                                                     const QSharedPointer<AbstractFolder>& destination,
                                                     const SyncAction& slices, bool createDestination)
{
    append(new ShellSyncContainerOperation(this, shellOperationForChildren(), source, destination, m_syncJob,
                                           slices.folders, slices.files, slices.twinFolders, slices.twinFiles,
                                           createDestination, m_acl, m_settings));
}

void ShellSyncContainerOperation::scheduleCopy(const QSharedPointer<AbstractFile>& file, SyncAction::Reason reason)
{
    if (hasOption(SyncJob::DryRun)) {
        const QString name = reason == SyncAction::NotInDestination ? ShellCopyFileOperation::tr("Copy") : tr("Replace");
        ShellPlannedOperation::appendLine(m_shellOperation, name, file->displayPath(),
                                          Driver::createChildFile(m_destination, file->name())->displayPath(),
                                          SyncAction::reasonText(reason));
        return;
    }
    OverwriteMode::Keeps keeps;
    keeps.setFlag(OverwriteMode::KeepAcl, hasOption(SyncJob::OverwriteKeepsAcl));
    keeps.setFlag(OverwriteMode::KeepMetadata, hasOption(SyncJob::OverwriteKeepsMetadata));
    TransferSettings settings = m_settings;
    settings.aclDirective = newItemAcl();
    SyncSummary::instance().addPlannedCopy(file->size());
    auto* copy = new ShellCopyFileOperation(m_shellOperation, file, m_destination, file->name(),
                                            ShellCopyFileOperation::NoCopyFlags, keeps, settings);
    const bool replace = reason != SyncAction::NotInDestination;
    m_shellOperation->appendThen(copy, [replace](ShellCopyFileOperation* done) {
        if (done->error().isNull())
            SyncSummary::instance().addCopied(replace, done->file()->size());
        else
            SyncSummary::instance().addFailed(true);
    });
}

bool ShellSyncContainerOperation::wantsContainerAcl() const
{
    return hasOption(SyncJob::ApplyContainerAcl) && m_destination->fileSystemClass() == AbstractFS::CloudClass;
}

AclDirective ShellSyncContainerOperation::newItemAcl() const
{
    return AclDirective(AclDirective::UseAcl, hasOption(SyncJob::ApplyContainerAcl) ? m_acl : nullptr);
}

void ShellSyncContainerOperation::appendContainerAcl()
{
    m_containerAclPending = true;
    appendThen(new GetS3ContainerAclOperation(this, m_destination.staticCast<AbstractS3Folder>(), true),
               [this](GetS3ContainerAclOperation* done) {
                   if (done->error().isNull())
                       takeContainerAcl(done);
               });
}

// The walk waits for the list, so that every new object gets it.
void ShellSyncContainerOperation::takeContainerAcl(GetS3ContainerAclOperation* done)
{
    m_containerAclPending = false;
    if (!m_acl)
        m_acl = done->acl;
    if (m_subOperation || (m_sourceListed && m_destinationListed))
        processFolder();
}
