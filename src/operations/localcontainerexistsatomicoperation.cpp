#include "operations/localcontainerexistsatomicoperation.h"

#include <QDir>

#include "operations/localoperationrunner.h"

LocalContainerExistsAtomicOperation::LocalContainerExistsAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder)
    : folder(folder)
{
    setParent(parent);
}

LocalContainerExistsAtomicOperation* LocalContainerExistsAtomicOperation::clone(OperationGroup* parent) const
{
    return new LocalContainerExistsAtomicOperation(parent, folder);
}

void LocalContainerExistsAtomicOperation::run(LocalOperationRunner& runner)
{
    runner.log(QStringLiteral("Path : ") + folder->displayPath());
    if (QDir(folder->path()).exists())
        exists = true;
}
