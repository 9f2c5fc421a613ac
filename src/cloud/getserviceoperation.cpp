#include "cloud/getserviceoperation.h"

#include "cloud/getservicestreamreader.h"
#include "items/abstractaccount.h"
#include "items/abstractbucket.h"
#include "items/endpoint.h"

const QUrl GetServiceAtomicOperation::_canonicalizedResourceUrl = QUrl(QStringLiteral("/"));

GetServiceAtomicOperation::GetServiceAtomicOperation(OperationGroup* parent,
                                                     const QSharedPointer<AbstractAccount>& account)
    : m_account(account)
{
    setParent(parent);
}

QUrl GetServiceAtomicOperation::url() const
{
    const BrindleLib::Protocol protocol = m_account->protocol();
    QUrl target;
    target.setScheme(protocol == BrindleLib::ProtocolHttps ? QStringLiteral("https")
                                                           : QStringLiteral("http"));
    target.setHost(m_account->endpoint()->hostName());
    const int port = m_account->port(protocol);
    if (port != AbstractAccount::standardPort(protocol))
        target.setPort(port);
    target.setPath(QStringLiteral("/"));
    return target;
}

bool GetServiceAtomicOperation::processResponseData()
{
    const int status = httpResponseHeader().statusCode();
    if (status < 200 || status > 299)
        return AbstractCloudStorageOperation::processResponseData();
    GetServiceStreamReader reader(m_account, responseData());
    reader.readDocument();
    if (!reader.error().isNull())
        setError(reader.error());
    else
        buckets = reader.buckets();
    return true;
}

GetServiceAtomicOperation* GetServiceAtomicOperation::clone(OperationGroup* parent) const
{
    return new GetServiceAtomicOperation(parent, m_account);
}

GetServiceOperation::GetServiceOperation(OperationGroup* parent, const QSharedPointer<AbstractAccount>& account)
    : OperationGroup(parent), m_account(account)
{
    appendThen(new GetServiceAtomicOperation(this, account),
               [this](GetServiceAtomicOperation* get) { buckets = get->buckets; });
}
