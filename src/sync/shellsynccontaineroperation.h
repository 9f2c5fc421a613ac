#ifndef SHELLSYNCCONTAINEROPERATION_H
#define SHELLSYNCCONTAINEROPERATION_H

#include <QSharedPointer>

#include "cloud/abstractacl.h"
#include "cloud/transfersettings.h"
#include "sync/syncjob.h"
#include "items/abstractfile.h"
#include "items/abstractfolder.h"
#include "operations/abstractshelloperation.h"
#include "operations/localfolderlistatomicoperation.h"
#include "sync/syncplanner.h"

class CompareFileContentForSyncOperation;
class GetS3ContainerAclOperation;
class ShellListFolderOperation;

// Brings one destination folder into line with one source folder. The top
// operation checks both roots, lists both whole trees once and walks them
// together; every folder pair that needs a closer look gets a sub-operation
// holding its slices of the sorted lists.
class ShellSyncContainerOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellSyncContainerOperation)

public:
    using FolderList = QList<QSharedPointer<AbstractFolder>>;
    using FileList = QList<QSharedPointer<AbstractFile>>;

    // The top of a tree: the roots are checked and listed first.
    ShellSyncContainerOperation(OperationGroup* parent, AbstractShellOperation* shellOperation,
                                const QSharedPointer<AbstractFolder>& source,
                                const QSharedPointer<AbstractFolder>& destination, const SyncJob& job,
                                const TransferSettings& settings);
    // A sub-folder, with its slices of the listings; does its work at once.
    ShellSyncContainerOperation(OperationGroup* parent, AbstractShellOperation* shellOperation,
                                const QSharedPointer<AbstractFolder>& source,
                                const QSharedPointer<AbstractFolder>& destination, const SyncJob& job,
                                const FolderList& sourceFolders, const FileList& sourceFiles,
                                const FolderList& destinationFolders, const FileList& destinationFiles,
                                bool createDestination, const QSharedPointer<AbstractAcl>& acl,
                                const TransferSettings& settings);

    QString name() const override;
    void prepareFirstOperation() override;
    QString sourceDisplayPath() const override { return m_source->displayPath(); }
    QString destinationDisplayPath() const override { return m_destination->displayPath(); }
    bool isEffectiveOperation() const override { return true; }

    static QString _compareStr;

private:
    void list();
    void appendExists(bool source);
    void existsChecked(bool exists, bool source);
    void takeListing(ShellListFolderOperation* listing, FolderList& folders, FileList& files, bool& listed);
    void processFolderWhenListed();
    void setAsideUnreadable();
    void processFolder();
    void execute(const SyncAction& action);
    void compared(CompareFileContentForSyncOperation* compare);
    // Counts a finished deletion of `files` files for the summary.
    static void countDeleted(AbstractOperation* done, int files);
    // A download turns object keys into local paths, which must stay below
    // the destination.
    bool keysBecomeLocalPaths() const;
    void appendSubOperation(const QSharedPointer<AbstractFolder>& source,
                            const QSharedPointer<AbstractFolder>& destination, const SyncAction& slices,
                            bool createDestination);
    void appendCreateDestination();
    void scheduleCopy(const QSharedPointer<AbstractFile>& file, SyncAction::Reason reason);
    // What new objects and folders get: the destination container's ACL when
    // the job asks for it, else the store's default.
    AclDirective newItemAcl() const;
    bool wantsContainerAcl() const;
    void appendContainerAcl();
    void takeContainerAcl(GetS3ContainerAclOperation* done);
    bool hasOption(SyncJob::Option option) const { return m_syncJob.options().testFlag(option); }
    AbstractShellOperation* shellOperationForChildren() const;

    AbstractShellOperation* m_shellOperation;
    QSharedPointer<AbstractFolder> m_source;
    QSharedPointer<AbstractFolder> m_destination;
    bool m_sourceListed = false;
    bool m_destinationListed = false;
    SyncJob m_syncJob;
    bool m_subOperation = false;
    // What is left of both listings below this folder pair.
    SyncPlanner::Listings m_listings;
    QList<LocalFolderListAtomicOperation::Unreadable> m_unreadable;
    bool m_createDestination = false;
    // The destination container's ACL, read once at the top and handed down.
    QSharedPointer<AbstractAcl> m_acl;
    bool m_containerAclPending = false;
    TransferSettings m_settings;
};

#endif
