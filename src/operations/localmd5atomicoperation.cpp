#include "operations/localmd5atomicoperation.h"

LocalMd5AtomicOperation::LocalMd5AtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& file,
                                                 const QSharedPointer<QIODevice>& device)
    : file(file), device(device)
{
    setParent(parent);
}

LocalMd5AtomicOperation* LocalMd5AtomicOperation::clone(OperationGroup* parent) const
{
    return new LocalMd5AtomicOperation(parent, file, device);
}
