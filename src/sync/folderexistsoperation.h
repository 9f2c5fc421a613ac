#ifndef FOLDEREXISTSOPERATION_H
#define FOLDEREXISTSOPERATION_H

#include <QSharedPointer>

#include "items/abstractfolder.h"
#include "operations/operationgroup.h"

// Whether a folder is there, on either side.
class FolderExistsOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(FolderExistsOperation)

public:
    FolderExistsOperation(OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder);

    QString name() const override { return tr("Check folder exists"); }

    void prepareFirstOperation() override;

    QSharedPointer<AbstractFolder> folder;
    bool exists = false;
};

#endif
