#ifndef S3ACL_H
#define S3ACL_H

#include <QString>

#include "cloud/abstractacl.h"

class WSXmlStreamReader;

// An ACL in the S3 dialect: an "AccessControlPolicy" with one "Grant" per
// user and right.
class S3Acl : public AbstractAcl
{
public:
    explicit S3Acl(const QSharedPointer<AbstractAccount>& account);

    FileSystemType fileSystemType() const override { return S3FileSystem; }
    QSharedPointer<AbstractAcl> clone() const override;
    QByteArray toXml() const override;
    void readXml(const QByteArray& data) override;
    Canned canned() const override;
    // The namespace of the document written.
    virtual QString xmlnsDoc() const;

    // One "Grant" per right that flags holds, FULL_CONTROL for all four.
    static void writeS3Grant(QXmlStreamWriter& writer, const QSharedPointer<AbstractUser>& user,
                             Permissions flags);

    static const QString _xmlnsDoc;
    static const QString _xmlnsXsi;

protected:
    S3Acl(const S3Acl& other) = default;

private:
    void readS3AccessControlPolicy(WSXmlStreamReader& reader);
    void readS3AccessControlList(WSXmlStreamReader& reader);
    void readS3Grant(WSXmlStreamReader& reader);
    QSharedPointer<AbstractUser> readS3Grantee(const QString& type, WSXmlStreamReader& reader);
    QSharedPointer<AbstractUser> groupOf(const QByteArray& uri) const;
};

#endif
