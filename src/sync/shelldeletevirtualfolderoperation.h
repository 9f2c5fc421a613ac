#ifndef SHELLDELETEVIRTUALFOLDEROPERATION_H
#define SHELLDELETEVIRTUALFOLDEROPERATION_H

#include <QSharedPointer>

#include "items/abstractfolder.h"
#include "operations/abstractshelloperation.h"

// Removes one folder whose contents are gone.
class ShellDeleteVirtualFolderOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellDeleteVirtualFolderOperation)

public:
    ShellDeleteVirtualFolderOperation(OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder,
                                      bool allVersions);

    QString name() const override { return tr("Delete"); }
    QString sourceDisplayPath() const override { return folder->displayPath(); }
    QString destinationDisplayPath() const override { return QString(); }
    bool isEffectiveOperation() const override { return true; }

    void prepareFirstOperation() override;

    QSharedPointer<AbstractFolder> folder;
    bool allVersions;
};

#endif
