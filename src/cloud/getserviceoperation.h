#ifndef GETSERVICEOPERATION_H
#define GETSERVICEOPERATION_H

#include <QList>
#include <QSharedPointer>

#include "cloud/abstractcloudstorageoperation.h"
#include "operations/operationgroup.h"

class AbstractBucket;

// The list of an account's buckets: one GET on the endpoint itself.
class GetServiceAtomicOperation : public AbstractCloudStorageOperation
{
    Q_DECLARE_TR_FUNCTIONS(GetServiceAtomicOperation)

public:
    GetServiceAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractAccount>& account);

    QString name() const override { return tr("List buckets"); }
    QUrl url() const override;
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::GetMethod; }
    // "/" for every account, whatever host the request goes to.
    QUrl canonicalizedResource() const override { return _canonicalizedResourceUrl; }
    QSharedPointer<AbstractAccount> account() const override { return m_account; }
    bool processResponseData() override;
    GetServiceAtomicOperation* clone(OperationGroup* parent) const override;

    QList<QSharedPointer<AbstractBucket>> buckets;

    static const QUrl _canonicalizedResourceUrl;

private:
    const QSharedPointer<AbstractAccount> m_account;
};

class GetServiceOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(GetServiceOperation)

public:
    GetServiceOperation(OperationGroup* parent, const QSharedPointer<AbstractAccount>& account);

    QString name() const override { return tr("List buckets"); }

    QSharedPointer<AbstractAccount> account() const { return m_account; }

    QList<QSharedPointer<AbstractBucket>> buckets;

private:
    const QSharedPointer<AbstractAccount> m_account;
};

#endif
