#include "operations/createlocalfolderatomicoperation.h"

#include <QDir>

#include "items/localfolder.h"
#include "operations/localoperationrunner.h"

CreateLocalFolderAtomicOperation::CreateLocalFolderAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractLocalContainer>& parentFolder,
    const QString& folderName, bool exclusive)
    : parentFolder(parentFolder), folderName(folderName), exclusive(exclusive)
{
    setParent(parent);
}

CreateLocalFolderAtomicOperation* CreateLocalFolderAtomicOperation::clone(OperationGroup* parent) const
{
    return new CreateLocalFolderAtomicOperation(parent, parentFolder, folderName, exclusive);
}

void CreateLocalFolderAtomicOperation::run(LocalOperationRunner& runner)
{
    const auto made = QSharedPointer<LocalFolder>::create(parentFolder, folderName);
    runner.log(QStringLiteral("Path : ") + made->displayPath());
    if (QDir(parentFolder->path()).mkdir(folderName) || QDir(made->path()).exists()) {
        folder = made;
        return;
    }
    runner.fail(QString(), QStringLiteral("Operation: ") + name() + QLatin1Char('\n') + QStringLiteral("Path: ")
                               + made->displayPath() + QLatin1Char('\n') + tr("Failed to create folder"));
}
