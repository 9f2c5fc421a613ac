#include "sync/shellsynccontaineroperation.h"

#include <QtConcurrent>

#include "frontend/filter.h"
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

QString ShellSyncContainerOperation::_compareStr = ShellSyncContainerOperation::tr("Compare");

ShellSyncContainerOperation::ShellSyncContainerOperation(
    OperationGroup* parent, AbstractShellOperation* shellOperation, const QSharedPointer<AbstractFolder>& source,
    const QSharedPointer<AbstractFolder>& destination, const SyncJob& job,
    const ClientSideEncryption& clientSideEncryption, const ServerSideEncryption& serverSideEncryption,
    const StorageDirective& storageDirective, const Multipart& multipart,
    const DecryptionPasswords& decryptionPasswords)
    : AbstractShellOperation(parent), m_shellOperation(shellOperation ? shellOperation : this), m_source(source),
      m_destination(destination), m_syncJob(job), m_clientSideEncryption(clientSideEncryption),
      m_serverSideEncryption(serverSideEncryption), m_storageDirective(storageDirective), m_multipart(multipart),
      m_decryptionPasswords(decryptionPasswords)
{
}

ShellSyncContainerOperation::ShellSyncContainerOperation(
    OperationGroup* parent, AbstractShellOperation* shellOperation, const QSharedPointer<AbstractFolder>& source,
    const QSharedPointer<AbstractFolder>& destination, const SyncJob& job, const FolderList& sourceFolders,
    const FileList& sourceFiles, const FolderList& destinationFolders, const FileList& destinationFiles,
    bool createDestination, const QSharedPointer<AbstractAcl>& acl, const ClientSideEncryption& clientSideEncryption,
    const ServerSideEncryption& serverSideEncryption, const StorageDirective& storageDirective,
    const Multipart& multipart, const DecryptionPasswords& decryptionPasswords)
    : ShellSyncContainerOperation(parent, shellOperation, source, destination, job, clientSideEncryption,
                                  serverSideEncryption, storageDirective, multipart, decryptionPasswords)
{
    m_sourceListed = true;
    m_destinationListed = true;
    m_subOperation = true;
    m_sourceFolders = sourceFolders;
    m_sourceFiles = sourceFiles;
    m_destinationFolders = destinationFolders;
    m_destinationFiles = destinationFiles;
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
    append(new ShellCreateFolderOperation(this, parentFolder, m_destination->name(), newItemAcl(), false));
}

void ShellSyncContainerOperation::prepareFirstOperation()
{
    if (m_sourceListed)
        return;
    // A sync never asks whether to overwrite.
    AbstractOperation* top = topLevelOperation();
    if (top->isGroup())
        static_cast<OperationGroup*>(top)->setOverwriteMode(BrindleLib::OverwriteAlways);
    auto* exists = new FolderExistsOperation(this, m_source);
    exists->setTag(SourceExistsTag);
    append(exists);
}

void ShellSyncContainerOperation::list()
{
    const SyncJob::Options options = m_syncJob.options();
    const bool ignoreLinks = options.testFlag(SyncJob::IgnoreSymbolicLinks);
    // The destination is listed in full: what the source leaves out has no
    // twin there and is deleted.
    auto* source = new ShellListFolderOperation(this, m_source, BrindleLib::ListSubtree,
                                                BrindleLib::ListCurrentVersions,
                                                !options.testFlag(SyncJob::IgnoreHiddenFiles),
                                                !options.testFlag(SyncJob::IgnoreSystemFiles), ignoreLinks,
                                                m_syncJob.filter());
    source->setTag(SourceListTag);
    append(source);
    auto* destination = new ShellListFolderOperation(this, m_destination, BrindleLib::ListSubtree,
                                                     BrindleLib::ListCurrentVersions, true, true, ignoreLinks,
                                                     Filter());
    destination->setTag(DestinationListTag);
    append(destination);
}

bool ShellSyncContainerOperation::prepareNextOperation(AbstractOperation* child)
{
    if (OperationGroup::prepareNextOperation(child))
        return true;
    const int tag = child->tag();
    const bool failed = !child->error().isNull();
    switch (child->type()) {
    case FolderExistsType:
        if (!failed && tag == SourceExistsTag)
            existsChecked(child, m_source);
        else if (!failed && tag == DestinationExistsTag)
            existsChecked(child, m_destination);
        return true;
    case ShellListFolderType:
        if (failed)
            return true;
        if (tag == SourceListTag)
            takeListing(child, m_sourceFolders, m_sourceFiles, m_sourceListed);
        else if (tag == DestinationListTag)
            takeListing(child, m_destinationFolders, m_destinationFiles, m_destinationListed);
        if (tag == DestinationListTag && wantsContainerAcl())
            appendContainerAcl();
        else if (m_sourceListed && m_destinationListed && !m_containerAclPending)
            processFolder();
        return true;
    case GetS3ContainerAclType:
        if (!failed)
            takeContainerAcl(child);
        return true;
    case CompareFileContentForSyncType: {
        auto* compare = static_cast<CompareFileContentForSyncOperation*>(child);
        // A failed comparison leaves the file alone; its error stays in the tree.
        if (!failed && !compare->identical())
            scheduleCopy(compare->source());
        return true;
    }
    default:
        return false;
    }
}

void ShellSyncContainerOperation::existsChecked(AbstractOperation* child, const QSharedPointer<AbstractFolder>& folder)
{
    if (static_cast<FolderExistsOperation*>(child)->exists) {
        if (child->tag() == SourceExistsTag) {
            auto* exists = new FolderExistsOperation(this, m_destination);
            exists->setTag(DestinationExistsTag);
            append(exists);
        } else {
            list();
        }
        return;
    }
    if (child->tag() == DestinationExistsTag && m_subOperation)
        return;
    setError(OpError(OpError::GeneralError, QString(), tr("Folder '%1' not found").arg(folder->displayPath()),
                     QString()));
}

void ShellSyncContainerOperation::takeListing(AbstractOperation* child, FolderList& folders, FileList& files,
                                              bool& listed)
{
    auto* listing = static_cast<ShellListFolderOperation*>(child);
    folders = listing->folders;
    files = listing->files;
    listing->clearList();
    // Both sorts at once on the global pool; the walk waits for them.
    QFuture<void> fileSort = QtConcurrent::run(sortFilePtrList, &files);
    QFuture<void> folderSort = QtConcurrent::run(sortFolderPtrList, &folders);
    folderSort.waitForFinished();
    fileSort.waitForFinished();
    listed = true;
}

void ShellSyncContainerOperation::processFolder()
{
    if (m_sourceFolders.isEmpty() && m_sourceFiles.isEmpty() && m_destinationFolders.isEmpty()
        && m_destinationFiles.isEmpty())
        return;
    {
        const FileHash sourceHash = takeDirectFiles(m_source, m_sourceFiles);
        const FileHash destinationHash = takeDirectFiles(m_destination, m_destinationFiles);
        if (!sourceHash.isEmpty() || !destinationHash.isEmpty())
            syncFiles(sourceHash, destinationHash);
    }
    while (!m_sourceFolders.isEmpty() || !m_destinationFolders.isEmpty())
        mergeFolderStep();
}

// The files directly in `folder` lead the sorted list: take them into a hash
// by name, and stop at the first one that lies deeper.
ShellSyncContainerOperation::FileHash ShellSyncContainerOperation::takeDirectFiles(
    const QSharedPointer<AbstractFolder>& folder, FileList& files)
{
    FileHash hash;
    const QString folderPath = folder->path();
    int skip = folderPath.length();
    if (!folderPath.endsWith(folder->delimiter()) && folder->itemType() != AbstractItem::BucketItem)
        ++skip;
    while (!files.isEmpty()) {
        const QSharedPointer<AbstractFile> file = files.first();
        const QChar delimiter = file->parent() ? file->parent()->delimiter() : folder->delimiter();
        if (QStringView(file->path()).mid(skip).indexOf(delimiter, 0, Qt::CaseSensitive) >= 0)
            break;
        files.removeFirst();
        hash.insert(file->displayName(), file);
    }
    return hash;
}

void ShellSyncContainerOperation::syncFiles(const FileHash& sourceHash, const FileHash& destinationHash)
{
    for (auto it = sourceHash.cbegin(); it != sourceHash.cend(); ++it) {
        const auto twin = destinationHash.constFind(it.key());
        if (twin == destinationHash.cend()) {
            if (!hasOption(SyncJob::DontAdd))
                scheduleCopy(it.value());
            continue;
        }
        syncFilePair(it.value(), twin.value());
    }
    if (hasOption(SyncJob::DontDelete))
        return;
    for (auto it = destinationHash.cbegin(); it != destinationHash.cend(); ++it) {
        if (!sourceHash.contains(it.key()))
            m_shellOperation->append(new ShellDeleteFileOperation(this, it.value(), false));
    }
}

void ShellSyncContainerOperation::syncFilePair(const QSharedPointer<AbstractFile>& source,
                                               const QSharedPointer<AbstractFile>& dest)
{
    if (hasOption(SyncJob::KeepNew) && source->lastModified() < dest->lastModified())
        return;
    if (hasOption(SyncJob::DontReplace))
        return;
    if (source->fileSystemClass() == AbstractFS::CloudClass && dest->fileSystemClass() == AbstractFS::CloudClass) {
        if (source.staticCast<AbstractCloudFile>()->md5sum() != dest.staticCast<AbstractCloudFile>()->md5sum())
            scheduleCopy(source);
        return;
    }
    const bool bothLocal = source->fileSystemType() == AbstractFS::LocalFileSystem
        && dest->fileSystemType() == AbstractFS::LocalFileSystem;
    if (bothLocal && source->size() != -1 && dest->size() != -1 && source->size() != dest->size()) {
        scheduleCopy(source);
        return;
    }
    append(new CompareFileContentForSyncOperation(this, source, dest, m_destination));
}

void ShellSyncContainerOperation::takeSlice(const QSharedPointer<AbstractFolder>& folder, FolderList& folders,
                                            FileList& files, FolderList& folderSlice, FileList& fileSlice)
{
    QString prefix = folder->path();
    if (!prefix.endsWith(folder->delimiter()))
        prefix += folder->delimiter();
    while (!folders.isEmpty() && folders.first()->path().startsWith(prefix, Qt::CaseSensitive))
        folderSlice.append(folders.takeFirst());
    while (!files.isEmpty() && files.first()->path().startsWith(prefix, Qt::CaseSensitive))
        fileSlice.append(files.takeFirst());
}

// One step of the two-way merge of the sorted folder lists, on plain names.
void ShellSyncContainerOperation::mergeFolderStep()
{
    bool inSource = !m_sourceFolders.isEmpty();
    bool inDestination = !m_destinationFolders.isEmpty();
    if (inSource && inDestination) {
        const QString sourceName = m_sourceFolders.first()->name();
        const QString destinationName = m_destinationFolders.first()->name();
        if (sourceName != destinationName) {
            const bool sourceFirst = sourceName.compare(destinationName, Qt::CaseSensitive) < 0;
            inSource = sourceFirst;
            inDestination = !sourceFirst;
        }
    }
    QSharedPointer<AbstractFolder> sourceSub;
    QSharedPointer<AbstractFolder> destinationSub;
    FolderList sourceFolders, destinationFolders;
    FileList sourceFiles, destinationFiles;
    if (inSource) {
        sourceSub = m_sourceFolders.takeFirst();
        takeSlice(sourceSub, m_sourceFolders, m_sourceFiles, sourceFolders, sourceFiles);
    }
    if (inDestination) {
        destinationSub = m_destinationFolders.takeFirst();
        takeSlice(destinationSub, m_destinationFolders, m_destinationFiles, destinationFolders, destinationFiles);
    }

    if (inSource && inDestination) {
        // Two empty folders are left in peace.
        if (!sourceFolders.isEmpty() || !sourceFiles.isEmpty() || !destinationFolders.isEmpty()
            || !destinationFiles.isEmpty())
            appendSubOperation(sourceSub, destinationSub, sourceFolders, sourceFiles, destinationFolders,
                               destinationFiles, false);
    } else if (inSource) {
        if (!hasOption(SyncJob::DontAdd))
            appendSubOperation(sourceSub, Driver::createChildFolder(m_destination, sourceSub->name()),
                               sourceFolders, sourceFiles, destinationFolders, destinationFiles, true);
    } else if (!hasOption(SyncJob::DontDelete)) {
        m_shellOperation->append(new ShellDeleteContainerOperation(m_shellOperation, destinationSub,
                                                                   destinationFolders, destinationFiles, false));
    }
}

void ShellSyncContainerOperation::appendSubOperation(
    const QSharedPointer<AbstractFolder>& source, const QSharedPointer<AbstractFolder>& destination,
    const FolderList& sourceFolders, const FileList& sourceFiles, const FolderList& destinationFolders,
    const FileList& destinationFiles, bool createDestination)
{
    append(new ShellSyncContainerOperation(this, shellOperationForChildren(), source, destination, m_syncJob,
                                           sourceFolders, sourceFiles, destinationFolders, destinationFiles,
                                           createDestination, m_acl, m_clientSideEncryption, m_serverSideEncryption,
                                           m_storageDirective, m_multipart, m_decryptionPasswords));
}

void ShellSyncContainerOperation::scheduleCopy(const QSharedPointer<AbstractFile>& file)
{
    const SyncJob::Options options = m_syncJob.options();
    const OverwriteMode overwriteMode(options.testFlag(SyncJob::OverwriteKeepsAcl), false,
                                      options.testFlag(SyncJob::OverwriteKeepsMetadata), false);
    m_shellOperation->append(new ShellCopyFileOperation(
        m_shellOperation, file, m_destination, file->name(), false, newItemAcl(), false, false, false, overwriteMode,
        m_clientSideEncryption, m_serverSideEncryption, m_storageDirective, m_multipart, m_decryptionPasswords));
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
    append(new GetS3ContainerAclOperation(this, m_destination.staticCast<AbstractS3Folder>(), true));
}

// The walk waits for the list, so that every new object gets it.
void ShellSyncContainerOperation::takeContainerAcl(AbstractOperation* child)
{
    m_containerAclPending = false;
    if (!m_acl)
        m_acl = static_cast<GetS3ContainerAclOperation*>(child)->acl;
    if (m_subOperation || (m_sourceListed && m_destinationListed))
        processFolder();
}
