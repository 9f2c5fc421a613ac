#include "crypto/storagedirective.h"

#include "util/lockeddata.h"

struct StorageDirective::Private : QSharedData
{
    Mode mode = DefaultMode;
    StorageClass storageClass = StandardStorage;
    mutable FastMutex mutex;
};

StorageDirective::StorageDirective() = default;

StorageDirective::StorageDirective(Mode mode, StorageClass storageClass)
{
    if (mode != DefaultMode || storageClass != StandardStorage) {
        setMode(mode);
        setStorageClass(storageClass);
    }
}

StorageDirective::StorageDirective(const StorageDirective& other) = default;
StorageDirective& StorageDirective::operator=(const StorageDirective& other) = default;
StorageDirective::~StorageDirective() = default;

StorageDirective::Mode StorageDirective::mode() const
{
    return LockedData::read(d, &Private::mode);
}

StorageDirective::StorageClass StorageDirective::storageClass() const
{
    return LockedData::read(d, &Private::storageClass);
}

void StorageDirective::setMode(Mode mode)
{
    LockedData::write(d, &Private::mode, mode);
}

void StorageDirective::setStorageClass(StorageClass storageClass)
{
    LockedData::write(d, &Private::storageClass, storageClass);
}
