#ifndef ACLREQUEST_H
#define ACLREQUEST_H

#include <QByteArray>
#include <QSharedPointer>
#include <QUrl>

#include "cloud/abstractacl.h"
#include "net/httpheader.h"
#include "net/metadata.h"
#include "util/operror.h"

class AbstractAccount;
class AbstractUser;
class OperationGroup;

namespace AclRequestHelpers {
// url with "acl" put in front of its query: "acl", or "acl&" + the old one,
// so that a version query survives.
QUrl withAclQuery(const QUrl& url);
// What a GET of an ACL answered: the list read from a 200, null for a 404
// (no list, no error) and for anything else, which hasError reports.
QSharedPointer<AbstractAcl> aclFromAnswer(const QSharedPointer<AbstractAccount>& account,
                                          int statusCode, const QByteArray& body, bool* isFailure);
// The list that a PUT sends: a clone of acl, owned by itemOwner when the
// item has one of another id, and for Google without write rights, which
// its objects can't have.
QSharedPointer<AbstractAcl> aclToPut(const QSharedPointer<AbstractAcl>& acl,
                                     const QSharedPointer<AbstractUser>& itemOwner,
                                     const QSharedPointer<AbstractAccount>& account);
// The PUT's own header: the canned word in the provider's ACL header.
void appendCannedField(Metadata& fields, const QSharedPointer<AbstractAccount>& account,
                       AbstractAcl::Canned canned);
} // namespace AclRequestHelpers

// A request on the "acl" sub-resource of what Base addresses: the word is
// both in the URL and in the signed resource.
template <class Base>
class AclRequest : public Base
{
public:
    using Base::Base;

    QUrl url() const override { return AclRequestHelpers::withAclQuery(Base::url()); }
    QUrl canonicalizedResource() const override
    {
        return AclRequestHelpers::withAclQuery(Base::canonicalizedResource());
    }
};

// GET of an ACL. The result is left in acl for the group to take.
template <class Base>
class GetAclRequest : public AclRequest<Base>
{
public:
    using AclRequest<Base>::AclRequest;

    HttpRequestHeader::Method method() const override { return HttpRequestHeader::GetMethod; }
    bool processResponseData() override
    {
        bool failed = false;
        acl = AclRequestHelpers::aclFromAnswer(this->account(), this->httpResponseHeader().statusCode(),
                                               this->responseData(), &failed);
        return failed ? Base::processResponseData() : true;
    }

    // Null until a 200 has been read, and after a 404.
    QSharedPointer<AbstractAcl> acl;
};

// PUT of an ACL: a canned list goes in a header with no body, any other as
// the document in the body.
template <class Base>
class PutAclRequest : public AclRequest<Base>
{
public:
    template <class Item>
    PutAclRequest(OperationGroup* parent, const QSharedPointer<Item>& item,
                  const QSharedPointer<AbstractAcl>& acl)
        : AclRequest<Base>(parent, item)
    {
        m_acl = AclRequestHelpers::aclToPut(acl, item->owner(), this->account());
        m_canned = m_acl ? m_acl->canned() : AbstractAcl::NotCanned;
        if (m_acl && m_canned == AbstractAcl::NotCanned)
            this->setRequestData(m_acl->toXml());
    }

    HttpRequestHeader::Method method() const override { return HttpRequestHeader::PutMethod; }
    Metadata httpFieldList() const override
    {
        Metadata fields = Base::httpFieldList();
        AclRequestHelpers::appendCannedField(fields, this->account(), m_canned);
        return fields;
    }
    // Unlike a read, a write to something that is not there has failed.
    bool processResponseData() override
    {
        const HttpResponseHeader answer = this->httpResponseHeader();
        if (answer.isValid() && answer.statusCode() == 404) {
            this->setError(OpError(OpError::ServiceError, QStringLiteral("404"),
                                   QString::fromLatin1(answer.reasonPhrase()), QString()));
            return true;
        }
        return Base::processResponseData();
    }

    // The list as sent.
    QSharedPointer<AbstractAcl> acl() const { return m_acl; }
    AbstractAcl::Canned canned() const { return m_canned; }

private:
    QSharedPointer<AbstractAcl> m_acl;
    AbstractAcl::Canned m_canned = AbstractAcl::NotCanned;
};

#endif
