#include "operations/deletelocalemptyfolderatomicoperation.h"

#include <QDir>

#include "operations/localoperationrunner.h"

DeleteLocalEmptyFolderAtomicOperation::DeleteLocalEmptyFolderAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder)
    : folder(folder)
{
    setParent(parent);
}

DeleteLocalEmptyFolderAtomicOperation* DeleteLocalEmptyFolderAtomicOperation::clone(OperationGroup* parent) const
{
    return new DeleteLocalEmptyFolderAtomicOperation(parent, folder);
}

void DeleteLocalEmptyFolderAtomicOperation::run(LocalOperationRunner& runner)
{
    const QString path = folder->displayPath();
    runner.log(QStringLiteral("Path : ") + path);
    if (QDir(QString()).rmdir(folder->path()))
        return;
    runner.fail(QString(), QStringLiteral("Operation:") + name() + QLatin1Char('\n') + QStringLiteral("Path: ")
                               + path + QLatin1Char('\n') + tr("Failed to remove folder"));
}
