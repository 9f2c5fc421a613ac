#ifndef GSACL_H
#define GSACL_H

#include <QString>

#include "cloud/abstractacl.h"

class WSXmlStreamReader;

// An ACL in Google's dialect: an "AccessControlList" with one "Entry" per
// user. Google's rights are a ladder (READ < WRITE < FULL_CONTROL), so a
// user's flags are rounded up to the rung that covers them.
class GSAcl : public AbstractAcl
{
public:
    explicit GSAcl(const QSharedPointer<AbstractAccount>& account);

    FileSystemType fileSystemType() const override { return GSFileSystem; }
    QSharedPointer<AbstractAcl> clone() const override;
    QByteArray toXml() const override;
    void readXml(const QByteArray& data) override;
    Canned canned() const override;

    static void writeGSGrant(QXmlStreamWriter& writer, const QSharedPointer<AbstractUser>& user,
                             Permissions flags);

    static const QString _xmlUserByIdValue;

private:
    GSAcl(const GSAcl& other) = default;

    void readGSAccessControlList(WSXmlStreamReader& reader);
    void readGSEntries(WSXmlStreamReader& reader);
    void readGSEntry(WSXmlStreamReader& reader);
    QSharedPointer<AbstractUser> readGSScope(AbstractUser::UserType type, WSXmlStreamReader& reader);
};

#endif
