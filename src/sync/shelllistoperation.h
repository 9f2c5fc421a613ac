#ifndef SHELLLISTOPERATION_H
#define SHELLLISTOPERATION_H

#include <QList>
#include <QSharedPointer>

#include "items/filter.h"
#include "items/abstractcontainer.h"
#include "items/abstractfolder.h"
#include "operations/abstractshelloperation.h"
#include "util/brindlelib.h"

// Looks one level into any container: the drives of the computer, the
// buckets of an account, or the entries of a folder. The results stay on
// the children, where the creator reads them.
class ShellListOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellListOperation)

public:
    ShellListOperation(OperationGroup* parent, const QSharedPointer<AbstractContainer>& container,
                       BrindleLib::ListVersionMode listVersionMode, BrindleLib::ListEntries entries,
                       const Filter& filter);

    QString name() const override { return tr("List"); }
    QString sourceDisplayPath() const override { return container->displayPath(); }
    QString destinationDisplayPath() const override { return QString(); }
    bool isEffectiveOperation() const override;

    void prepareFirstOperation() override;

    QSharedPointer<AbstractContainer> container;
    BrindleLib::ListVersionMode listVersionMode;
    BrindleLib::ListEntries entries;
    Filter filter;
    // Result: the folders, drives or buckets found.
    QList<QSharedPointer<AbstractFolder>> folders;
};

#endif
