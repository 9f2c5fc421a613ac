#ifndef CREATES3FOLDEROPERATION_H
#define CREATES3FOLDEROPERATION_H

#include <QSharedPointer>

#include "cloud/abstractacl.h"
#include "operations/operationgroup.h"

class AbstractS3Folder;
class AbstractWSFolder;

// Makes a folder's own object, unless the store has it already: a head
// first, then the PUT. An ACL that has no canned form is put on the new
// folder by a request of its own.
class CreateS3FolderOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(CreateS3FolderOperation)

public:
    // A null acl leaves the store's default.
    CreateS3FolderOperation(OperationGroup* parent, const QSharedPointer<AbstractS3Folder>& parentFolder,
                            const QString& name, const QSharedPointer<AbstractAcl>& acl, bool failIfExists);

    QString name() const override { return tr("Create folder"); }
    void prepareFirstOperation() override;

    QSharedPointer<AbstractS3Folder> parentFolder;
    QString folderName;
    // The child item to be made, known from the start.
    QSharedPointer<AbstractWSFolder> folder;
    QSharedPointer<AbstractAcl> acl;
    bool failIfExists;
    // The folder as the store has it now; null until known.
    QSharedPointer<AbstractS3Folder> createdFolder;

private:
    void appendPut();
};

#endif
