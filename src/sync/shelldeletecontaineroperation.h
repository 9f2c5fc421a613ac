#ifndef SHELLDELETECONTAINEROPERATION_H
#define SHELLDELETECONTAINEROPERATION_H

#include <QList>
#include <QSharedPointer>

#include "items/abstractfile.h"
#include "items/abstractfolder.h"
#include "operations/abstractshelloperation.h"

class ShellListFolderOperation;

// Deletes a folder with all it holds: each sub-folder's subtree in an
// operation of its own, then the folder's files, then the folder itself.
class ShellDeleteContainerOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellDeleteContainerOperation)

public:
    // Lists the folder's subtree first.
    ShellDeleteContainerOperation(OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder,
                                  bool allVersions);
    // With the subtree already listed and sorted: all sub-folders and all
    // files at any depth below folder.
    ShellDeleteContainerOperation(OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder,
                                  const QList<QSharedPointer<AbstractFolder>>& folders,
                                  const QList<QSharedPointer<AbstractFile>>& files, bool allVersions);

    QString name() const override { return tr("Delete"); }
    QString sourceDisplayPath() const override { return folder->displayPath(); }
    QString destinationDisplayPath() const override { return QString(); }
    bool isEffectiveOperation() const override { return false; }

    void prepareFirstOperation() override;

    QSharedPointer<AbstractFolder> folder;
    QList<QSharedPointer<AbstractFolder>> folders;
    QList<QSharedPointer<AbstractFile>> files;
    bool listed;
    bool allVersions;

private:
    void takeListing(ShellListFolderOperation* listing);
    void processFolder(const QSharedPointer<AbstractFolder>& current);
};

#endif
