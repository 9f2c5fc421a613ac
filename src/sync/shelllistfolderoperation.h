#ifndef SHELLLISTFOLDEROPERATION_H
#define SHELLLISTFOLDEROPERATION_H

#include <QList>
#include <QSharedPointer>

#include "items/filter.h"
#include "items/abstractfile.h"
#include "items/abstractfolder.h"
#include "operations/abstractshelloperation.h"
#include "operations/localfolderlistatomicoperation.h"
#include "util/brindlelib.h"

// Lists a folder on either side and hands back its files and folders, in
// the order the listing produced them: sorting is up to the creator.
class ShellListFolderOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellListFolderOperation)

public:
    ShellListFolderOperation(OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder,
                             BrindleLib::EntryListMode entryListMode, BrindleLib::ListVersionMode listVersionMode,
                             BrindleLib::ListEntries entries, const Filter& filter);

    QString name() const override { return tr("List"); }
    QString sourceDisplayPath() const override { return folder->displayPath(); }
    QString destinationDisplayPath() const override { return QString(); }
    bool isEffectiveOperation() const override { return true; }

    void prepareFirstOperation() override;

    // Drops the results once the creator has its copy, so the items are held once.
    void clearList();

    QSharedPointer<AbstractFolder> folder;
    BrindleLib::EntryListMode entryListMode;
    BrindleLib::ListVersionMode listVersionMode;
    BrindleLib::ListEntries entries;
    Filter filter;

    // Results, read directly by the creator.
    QList<QSharedPointer<AbstractFolder>> folders;
    QList<QSharedPointer<AbstractFile>> files;
    // The folder as the cloud listing resolved it; null after a local listing.
    QSharedPointer<AbstractFolder> listedFolder;
    // Local folders that could not be read; listed as empty.
    QList<LocalFolderListAtomicOperation::Unreadable> unreadableFolders;
};

#endif
