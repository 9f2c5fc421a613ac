#ifndef NIFTYACL_H
#define NIFTYACL_H

#include "cloud/s3acl.h"

// Nifty speaks the S3 dialect under a namespace of its own.
class NiftyAcl : public S3Acl
{
public:
    explicit NiftyAcl(const QSharedPointer<AbstractAccount>& account) : S3Acl(account) {}

    QSharedPointer<AbstractAcl> clone() const override
    {
        return QSharedPointer<NiftyAcl>(new NiftyAcl(*this));
    }
    QString xmlnsDoc() const override { return _niftyXmlnsDoc; }

    static const QString _niftyXmlnsDoc;

private:
    NiftyAcl(const NiftyAcl& other) = default;
};

#endif
