#include "frontend/commandop.h"

#include "cloud/getserviceoperation.h"
#include "items/filter.h"
#include "items/abstractbucket.h"
#include "items/driver.h"
#include "items/endpoint.h"
#include "items/mycomputer.h"
#include "operations/localdrivelistatomicoperation.h"
#include "sync/shelllistfolderoperation.h"
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
        auto* listing = new ShellListOperation(this, computer, BrindleLib::ListCurrentVersions, false, false,
                                               false, Filter());
        listing->setTag(LocalRootsTag);
        append(listing);
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
    auto* listing = new ShellListOperation(this, m_account, BrindleLib::ListCurrentVersions, false, false,
                                           false, Filter());
    listing->setTag(AccountRootsTag);
    append(listing);
    return true;
}

bool CommandOp::prepareNextOperation(AbstractOperation* child)
{
    if (OperationGroup::prepareNextOperation(child))
        return true;
    if (!child->error().isNull())
        return true;
    if (child->type() != ShellListType || (child->tag() != LocalRootsTag && child->tag() != AccountRootsTag))
        return false;
    collectRoots(static_cast<OperationGroup*>(child));
    // The account is listed after the drives, never at the same time.
    if (child->tag() == LocalRootsTag && m_listAccountRoots)
        return makeRoot2();
    return false;
}

void CommandOp::collectRoots(OperationGroup* listing)
{
    for (int i = 0; i < listing->operationCount(); ++i) {
        AbstractOperation* op = listing->operationAt(i);
        if (op->type() == LocalDriveListAtomicType) {
            for (const auto& drive : static_cast<LocalDriveListAtomicOperation*>(op)->drives)
                m_roots.append(drive);
        } else if (op->type() == ShellListFolderType) {
            auto* folderList = static_cast<ShellListFolderOperation*>(op);
            m_roots.append(folderList->folders);
        } else if (op->type() == GetServiceType) {
            for (const auto& bucket : static_cast<GetServiceOperation*>(op)->buckets)
                m_roots.append(QSharedPointer<AbstractFolder>(bucket));
        }
    }
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
