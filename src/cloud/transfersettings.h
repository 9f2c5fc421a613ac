#ifndef TRANSFERSETTINGS_H
#define TRANSFERSETTINGS_H

#include "cloud/acldirective.h"
#include "crypto/clientsideencryption.h"
#include "crypto/multipart.h"
#include "crypto/password.h"
#include "crypto/serversideencryption.h"
#include "crypto/storagedirective.h"

// What every transfer of a run carries alike, handed down the operation tree
// as one value: how to encrypt and store what goes up, how to cut it, the
// passwords that open what comes down, and the ACL of new objects. Each
// member is implicitly shared, so a copy per operation costs little.
struct TransferSettings
{
    ClientSideEncryption clientSideEncryption;
    ServerSideEncryption serverSideEncryption;
    StorageDirective storageDirective;
    Multipart multipart;
    DecryptionPasswords decryptionPasswords;
    AclDirective aclDirective;
};

#endif
