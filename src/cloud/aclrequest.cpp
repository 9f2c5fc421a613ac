#include "cloud/aclrequest.h"

#include "items/abstractaccount.h"
#include "items/abstractuser.h"
#include "items/driver.h"

namespace {
const QString global_aclQuery = QStringLiteral("acl");
}

QUrl AclRequestHelpers::withAclQuery(const QUrl& url)
{
    QUrl result = url;
    const QString query = url.query(QUrl::FullyEncoded);
    result.setQuery(query.isEmpty() ? global_aclQuery : global_aclQuery + QLatin1Char('&') + query,
                    QUrl::TolerantMode);
    return result;
}

QSharedPointer<AbstractAcl> AclRequestHelpers::aclFromAnswer(const QSharedPointer<AbstractAccount>& account,
                                                             int statusCode, const QByteArray& body,
                                                             bool* isFailure)
{
    *isFailure = statusCode != 200 && statusCode != 404;
    if (statusCode != 200)
        return QSharedPointer<AbstractAcl>();
    QSharedPointer<AbstractAcl> acl = AbstractAcl::create(account);
    if (acl)
        acl->readXml(body);
    return acl;
}

QSharedPointer<AbstractAcl> AclRequestHelpers::aclToPut(const QSharedPointer<AbstractAcl>& acl,
                                                        const QSharedPointer<AbstractUser>& itemOwner,
                                                        const QSharedPointer<AbstractAccount>& account)
{
    if (!acl)
        return acl;
    QSharedPointer<AbstractAcl> copy = acl->clone();
    // The same owner may be registered twice, once as found in a listing and
    // once as named by a grant: only another id makes it another owner.
    const QSharedPointer<AbstractUser> aclOwner = copy->owner();
    if (itemOwner && (!aclOwner || aclOwner->id() != itemOwner->id()))
        copy->setOwner(itemOwner);
    if (copy->canned() == AbstractAcl::NotCanned && account
        && account->fileSystemType() == AbstractFS::GSFileSystem)
        copy->removeWritePermission();
    return copy;
}

void AclRequestHelpers::appendCannedField(Metadata& fields, const QSharedPointer<AbstractAccount>& account,
                                          AbstractAcl::Canned canned)
{
    if (canned != AbstractAcl::NotCanned && account)
        fields.append(HttpField(account->xAcl(), AbstractAcl::cannedToByteArray(canned)));
}
