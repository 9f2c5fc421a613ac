#ifndef STORAGEDIRECTIVE_H
#define STORAGEDIRECTIVE_H

#include <QSharedDataPointer>

// The storage class that an upload asks for.
class StorageDirective
{
public:
    // KeepMode takes over the class of the object that a copy reads.
    enum Mode { DefaultMode = 0, SetMode = 1, KeepMode = 2 };
    enum StorageClass { StandardStorage = 0, ReducedRedundancyStorage = 1 };

    StorageDirective();
    StorageDirective(Mode mode, StorageClass storageClass);
    StorageDirective(const StorageDirective& other);
    StorageDirective& operator=(const StorageDirective& other);
    ~StorageDirective();

    Mode mode() const;
    StorageClass storageClass() const;
    void setMode(Mode mode);
    void setStorageClass(StorageClass storageClass);

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
