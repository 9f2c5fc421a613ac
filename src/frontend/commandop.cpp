#include "frontend/commandop.h"

#include "items/filter.h"
#include "items/abstractbucket.h"
#include "items/driver.h"
#include "items/endpoint.h"
#include "items/mycomputer.h"
#include "sync/shelllistoperation.h"

CommandOp::CommandOp(OperationGroup* parent, int port, bool listLocalRoots, bool listAccountRoots)
    : AbstractShellOperation(parent), m_port(port), m_listLocalRoots(listLocalRoots),
      m_listAccountRoots(listAccountRoots)
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
    if (m_listLocalRoots) {
        QSharedPointer<MyComputer> computer(new MyComputer);
        appendRootsListing(computer, m_listAccountRoots);
    } else if (m_listAccountRoots) {
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
    appendThen(new ShellListOperation(this, container, BrindleLib::ListCurrentVersions, false, false, false,
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
