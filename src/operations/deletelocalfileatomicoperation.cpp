#include "operations/deletelocalfileatomicoperation.h"

#include <QFile>

#include "operations/localoperationrunner.h"

DeleteLocalFileAtomicOperation::DeleteLocalFileAtomicOperation(OperationGroup* parent,
                                                               const QSharedPointer<AbstractFile>& file)
    : file(file)
{
    setParent(parent);
}

DeleteLocalFileAtomicOperation* DeleteLocalFileAtomicOperation::clone(OperationGroup* parent) const
{
    return new DeleteLocalFileAtomicOperation(parent, file);
}

void DeleteLocalFileAtomicOperation::run(LocalOperationRunner& runner)
{
    const QString path = file->displayPath();
    runner.log(QStringLiteral("Path : ") + path);
    QFile target(file->path());
    if (target.remove())
        return;
    runner.fail(QString::number(int(target.error())), QStringLiteral("Operation:") + name() + QLatin1Char('\n')
                                                          + QStringLiteral("Path: ") + path + QLatin1Char('\n')
                                                          + target.errorString());
}
