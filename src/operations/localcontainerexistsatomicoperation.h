#ifndef LOCALCONTAINEREXISTSATOMICOPERATION_H
#define LOCALCONTAINEREXISTSATOMICOPERATION_H

#include <QSharedPointer>

#include "items/abstractfolder.h"
#include "operations/abstractlocaloperation.h"

// Asks whether a local folder is there. Never fails: a missing folder is an answer.
class LocalContainerExistsAtomicOperation : public AbstractLocalOperation
{
    Q_DECLARE_TR_FUNCTIONS(LocalContainerExistsAtomicOperation)

public:
    LocalContainerExistsAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractFolder>& folder);

    QString name() const override { return tr("Check folder exists"); }
    LocalContainerExistsAtomicOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner& runner) override;

    QSharedPointer<AbstractFolder> folder;
    bool exists = false;
};

#endif
