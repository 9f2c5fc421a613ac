#include "cloud/acldirective.h"

#include "util/lockeddata.h"

struct AclDirective::Private : QSharedData
{
    Directive directive = UseAcl;
    QSharedPointer<AbstractAcl> acl;
    mutable FastMutex mutex;
};

AclDirective::AclDirective() = default;

AclDirective::AclDirective(Directive directive, const QSharedPointer<AbstractAcl>& acl)
{
    setDirective(directive);
    setAcl(acl);
}

AclDirective::AclDirective(const AclDirective& other) = default;
AclDirective& AclDirective::operator=(const AclDirective& other) = default;
AclDirective::~AclDirective() = default;

AclDirective::Directive AclDirective::directive() const
{
    return LockedData::read(d, &Private::directive);
}

void AclDirective::setDirective(Directive directive)
{
    LockedData::write(d, &Private::directive, directive);
}

QSharedPointer<AbstractAcl> AclDirective::acl() const
{
    return LockedData::read(d, &Private::acl);
}

void AclDirective::setAcl(const QSharedPointer<AbstractAcl>& acl)
{
    LockedData::write(d, &Private::acl, acl);
}

AbstractAcl::Canned AclDirective::canned() const
{
    const QSharedPointer<AbstractAcl> held = acl();
    return held ? held->canned() : AbstractAcl::NotCanned;
}
