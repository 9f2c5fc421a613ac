#ifndef ACLDIRECTIVE_H
#define ACLDIRECTIVE_H

#include <QSharedDataPointer>
#include <QSharedPointer>

#include "cloud/abstractacl.h"

// What ACL a new object or folder gets: the one held (none: the store's
// default), the ACL of the container it goes into, or that of the source of
// a copy.
class AclDirective
{
public:
    enum Directive {
        UseAcl = 0,       // the acl() held, if any
        ContainerAcl = 1, // the ACL of the destination's bucket
        SourceAcl = 2     // the ACL of the object copied
    };

    AclDirective();
    AclDirective(Directive directive, const QSharedPointer<AbstractAcl>& acl);
    AclDirective(const AclDirective& other);
    AclDirective& operator=(const AclDirective& other);
    ~AclDirective();

    Directive directive() const;
    void setDirective(Directive directive);
    QSharedPointer<AbstractAcl> acl() const;
    void setAcl(const QSharedPointer<AbstractAcl>& acl);
    // canned() of the ACL held; NotCanned without one.
    AbstractAcl::Canned canned() const;

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
