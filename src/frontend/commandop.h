#ifndef COMMANDOP_H
#define COMMANDOP_H

#include <QSharedPointer>

#include "items/abstractaccount.h"
#include "items/abstractfolder.h"
#include "operations/abstractshelloperation.h"

// The root of a command: lists the local drives, then the account's
// buckets, so that paths can be resolved into items under those roots.
class CommandOp : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(CommandOp)

public:
    // The roots listed before the command runs: the local drives, the account's buckets.
    enum Root { LocalRoots = 0x1, AccountRoots = 0x2 };
    Q_DECLARE_FLAGS(Roots, Root)

    CommandOp(OperationGroup* parent, int port, Roots roots);

    QString name() const override;
    void prepareFirstOperation() override;
    QString sourceDisplayPath() const override { return QString(); }
    QString destinationDisplayPath() const override { return QString(); }
    bool isEffectiveOperation() const override { return false; }

    QSharedPointer<AbstractAccount> account() const;
    void setAccount(const QSharedPointer<AbstractAccount>& account);
    QList<QSharedPointer<AbstractFolder>> roots() const { return m_roots; }
    // The item for a path as a user writes it, or null.
    QSharedPointer<AbstractItem> itemFromDisplayPath(const QString& path) const;

protected:
    bool makeRoot2();
    // The roots are known: what the command does next.
    virtual void rootsListed() {}
    int port() const { return m_port; }

private:
    void appendRootsListing(const QSharedPointer<AbstractContainer>& container, bool accountNext);
    int m_port;
    QList<QSharedPointer<AbstractFolder>> m_roots;
    QSharedPointer<AbstractAccount> m_account;
    Roots m_rootsToList;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(CommandOp::Roots)

#endif
