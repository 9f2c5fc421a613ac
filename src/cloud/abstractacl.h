#ifndef ABSTRACTACL_H
#define ABSTRACTACL_H

#include <QByteArray>
#include <QFlags>
#include <QHash>
#include <QList>
#include <QSharedPointer>

#include "items/abstractfs.h"
#include "items/abstractuser.h"
#include "util/fastmutex.h"

class AbstractAccount;
class QXmlStreamWriter;

// Who may do what with a bucket or an object. Users come from the Driver's
// registry, so they are compared by pointer. Several operations may read one
// ACL at once; whoever needs to change one for a request works on a clone().
class AbstractAcl : public AbstractFS
{
public:
    enum Permission {
        NoPermission = 0,
        ReadPermission = 1,
        WritePermission = 2,
        ReadAcpPermission = 4,
        WriteAcpPermission = 8,
        FullControlPermission = 15
    };
    Q_DECLARE_FLAGS(Permissions, Permission)

    // An empty ACL in the account's dialect: Nifty's, Google's, or S3's; null
    // without an account.
    static QSharedPointer<AbstractAcl> create(const QSharedPointer<AbstractAccount>& account);

    // The well-known lists that travel as one word in a request header.
    enum Canned {
        NotCanned = 0,
        PrivateAcl = 1,
        PublicReadAcl = 2,
        PublicReadWriteAcl = 3,
        AuthenticatedReadAcl = 4,
        ProjectPrivateAcl = 5,
        BucketOwnerReadAcl = 6,
        BucketOwnerFullControlAcl = 7
    };

    using UserPointer = QSharedPointer<AbstractUser>;
    using UserHash = QHash<UserPointer, Permissions>;

    ~AbstractAcl() override = default;
    AbstractAcl& operator=(const AbstractAcl&) = delete;

    FileSystemClass fileSystemClass() const override { return CloudClass; }

    // A deep enough copy to be changed on its own: the users stay shared.
    virtual QSharedPointer<AbstractAcl> clone() const = 0;
    virtual QByteArray toXml() const = 0;
    // Adds what the document says to this ACL; a malformed document leaves
    // what was read up to the fault.
    virtual void readXml(const QByteArray& data) = 0;
    virtual Canned canned() const = 0;
    // True when other has the same owner and the same users with the same
    // rights; with ignoreOwner the owners are not looked at.
    virtual bool compare(const QSharedPointer<AbstractAcl>& other, bool ignoreOwner) const;

    UserPointer owner() const;
    void setOwner(const UserPointer& owner);
    QSharedPointer<AbstractAccount> account() const;
    int userCount() const;
    bool contains(const UserPointer& user) const;
    UserHash permissions() const;
    Permissions permissions(const UserPointer& user) const;
    void setPermissions(const UserHash& users);
    // Replaces the rights of user.
    void set(const UserPointer& user, Permissions flags);
    // Adds flags to what user has.
    void add(const UserPointer& user, Permissions flags);
    // Takes flags away from user; the user stays, with what is left.
    void remove(const UserPointer& user, Permissions flags);
    void removeUser(const UserPointer& user);
    // Clears WritePermission of every user.
    void removeWritePermission();

    // The well-known forms: the owner with full control, alone or with one
    // group of everybody. The groups are the account's standing users.
    bool isPrivate() const;
    bool isPublicRead() const;
    bool isPublicReadWrite() const;
    bool isAuthenticatedRead() const;

    // The header word of a canned list; empty for NotCanned and for any
    // value above BucketOwnerFullControlAcl.
    static QByteArray cannedToByteArray(Canned canned);

    static const QByteArray _private;
    static const QByteArray _publicRead;
    static const QByteArray _publicReadWrite;
    static const QByteArray _authenticatedRead;
    static const QByteArray _projectPrivate;
    static const QByteArray _bucketOwnerRead;
    static const QByteArray _bucketOwnerFullControl;

protected:
    explicit AbstractAcl(const QSharedPointer<AbstractAccount>& account);
    AbstractAcl(const AbstractAcl& other);

    // The users in a stable order (by registry key), so that a document is
    // written the same way for the same list.
    QList<QPair<UserPointer, Permissions>> sortedUsers() const;
    // The first well-known form that the list has, in the order private,
    // public-read, public-read-write, authenticated-read; NotCanned if none.
    Canned cannedForm() const;

private:
    // True when the list is exactly the owner with full control and, if
    // group is given, group with exactly groupRights.
    bool isOwnerPlus(const UserPointer& group, Permissions groupRights) const;

    UserPointer m_owner;
    UserHash m_users;
    mutable FastMutex m_mutex;
    const QSharedPointer<AbstractAccount> m_account;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(AbstractAcl::Permissions)

#endif
