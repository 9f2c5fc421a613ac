#ifndef GSUSER_H
#define GSUSER_H

#include "items/abstractuser.h"
#include "items/googlestorageaccount.h"

class GSUser : public AbstractUser
{
public:
    GSUser(const QSharedPointer<GoogleStorageAccount>& account, UserType userType,
           const QByteArray& id)
        : AbstractUser(account, userType, id) {}

    FileSystemType fileSystemType() const override { return GSFileSystem; }
};

#endif
