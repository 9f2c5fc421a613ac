#ifndef SHELLCREATEFOLDEROPERATION_H
#define SHELLCREATEFOLDEROPERATION_H

#include <QSharedPointer>

#include "cloud/acldirective.h"
#include "items/abstractfolder.h"
#include "operations/abstractshelloperation.h"

// Creates one folder, on either side.
class ShellCreateFolderOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellCreateFolderOperation)

public:
    ShellCreateFolderOperation(OperationGroup* parent, const QSharedPointer<AbstractFolder>& parentFolder,
                               const QString& name, const AclDirective& aclDirective, bool exclusive);

    QString name() const override { return tr("Create folder"); }
    QString sourceDisplayPath() const override { return QString(); }
    // Known once the folder is made.
    QString destinationDisplayPath() const override;
    bool isEffectiveOperation() const override { return true; }
    // Work in a new local folder can't start before the folder exists.
    bool createsLocalFolder() const override;

    void prepareFirstOperation() override;

    bool createdFromGui() const { return m_createdFromGui; }
    void setCreatedFromGui(bool fromGui) { m_createdFromGui = fromGui; }

    // Where to create. The operation's own parent() is taken, hence the longer name.
    QSharedPointer<AbstractFolder> parentFolder;
    QSharedPointer<AbstractFolder> createdFolder;
    QString folderName;
    // For a folder in a store: ContainerAcl takes the bucket's list first.
    AclDirective aclDirective;
    bool exclusive;

private:
    void appendCreateS3Folder();

    bool m_createdFromGui = false;
};

#endif
