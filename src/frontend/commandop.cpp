#include "frontend/commandop.h"

#include "items/filter.h"
#include "items/abstractbucket.h"
#include "items/driver.h"
#include "items/endpoint.h"
#include "items/mycomputer.h"
#include "sync/shelllistoperation.h"

CommandOp::CommandOp(OperationGroup* parent, int port, Roots roots)
    : AbstractShellOperation(parent), m_port(port), m_rootsToList(roots)
{
}

QString CommandOp::name() const
{
    return tr("Command");
}

QSharedPointer<AbstractAccount> CommandOp::account() const
{
    return m_account;
}

void CommandOp::setAccount(const QSharedPointer<AbstractAccount>& account)
{
    m_account = account;
}

void CommandOp::prepareFirstOperation()
{
    if (m_rootsToList.testFlag(LocalRoots)) {
        QSharedPointer<MyComputer> computer(new MyComputer);
        appendRootsListing(computer, m_rootsToList.testFlag(AccountRoots));
    } else if (m_rootsToList.testFlag(AccountRoots)) {
        makeRoot2();
    }
}

bool CommandOp::makeRoot2()
{
    if (!m_account) {
        setError(OpError(OpError::GeneralError, QString(), tr("Invalid account"), QString()));
        return false;
    }
    appendRootsListing(m_account, false);
    return true;
}

void CommandOp::appendRootsListing(const QSharedPointer<AbstractContainer>& container, bool accountNext)
{
    appendThen(new ShellListOperation(this, container, BrindleLib::ListCurrentVersions, BrindleLib::ListEntries(),
                                      Filter()),
               [this, accountNext](ShellListOperation* listing) {
                   if (!listing->error().isNull())
                       return;
                   m_roots.append(listing->folders);
                   // The account is listed after the drives, never at the same time.
                   if (!accountNext || !makeRoot2())
                       rootsListed();
               });
}

QSharedPointer<AbstractItem> CommandOp::itemFromDisplayPath(const QString& path) const
{
    QList<QSharedPointer<Endpoint>> endpoints;
    QString host;
    if (m_account) {
        endpoints << m_account->endpoint();
        host = m_account->endpoint()->hostName();
    }
    const QUrl url = Driver::urlFromDisplayPath(path, host, m_port);
    return Driver::itemFromUrl(url, m_roots, endpoints);
}
