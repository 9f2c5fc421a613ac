#ifndef S3USER_H
#define S3USER_H

#include "items/abstractuser.h"
#include "items/amazons3account.h"

class S3User : public AbstractUser
{
public:
    S3User(const QSharedPointer<AmazonS3Account>& account, UserType userType, const QByteArray& id)
        : AbstractUser(account, userType, id) {}

    FileSystemType fileSystemType() const override { return S3FileSystem; }
};

#endif
