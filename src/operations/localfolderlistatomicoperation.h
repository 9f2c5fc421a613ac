#ifndef LOCALFOLDERLISTATOMICOPERATION_H
#define LOCALFOLDERLISTATOMICOPERATION_H

#include <QList>
#include <QSharedPointer>

#include "items/filter.h"
#include "items/abstractfile.h"
#include "items/abstractlocalcontainer.h"
#include "operations/abstractlocaloperation.h"
#include "util/brindlelib.h"

// Lists a local folder, one level or the whole subtree, in the order of the
// file system. The filter applies to files only: every folder is listed.
class LocalFolderListAtomicOperation : public AbstractLocalOperation
{
    Q_DECLARE_TR_FUNCTIONS(LocalFolderListAtomicOperation)

public:
    LocalFolderListAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractLocalContainer>& folder,
                                   BrindleLib::EntryListMode mode, BrindleLib::ListEntries entries,
                                   const Filter& filter);

    QString name() const override { return tr("List"); }
    LocalFolderListAtomicOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner& runner) override;

    // Inputs.
    QSharedPointer<AbstractLocalContainer> folder;
    BrindleLib::EntryListMode mode;
    BrindleLib::ListEntries entries;
    Filter filter;
    // Results. In a subtree listing a folder's descendants follow it directly.
    QList<QSharedPointer<AbstractFile>> files;
    QList<QSharedPointer<AbstractFolder>> folders;
    // Folders whose entries could not be read, with the system's reason:
    // they are listed as empty, and a sync must not take that for the truth.
    struct Unreadable {
        QSharedPointer<AbstractFolder> folder;
        QString reason;
    };
    QList<Unreadable> unreadableFolders;

private:
    void list(LocalOperationRunner& runner, const QSharedPointer<AbstractLocalContainer>& container);
};

#endif
