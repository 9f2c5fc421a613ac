#include "operations/encryptlocalfileatomicoperation.h"

EncryptLocalFileAtomicOperation::EncryptLocalFileAtomicOperation(OperationGroup* parent,
                                                                 const QSharedPointer<LocalFile>& file,
                                                                 const ClientSideEncryption& clientSideEncryption)
    : clientSideEncryption(clientSideEncryption), file(file)
{
    setParent(parent);
}

QString EncryptLocalFileAtomicOperation::name() const
{
    const bool compression = clientSideEncryption.isCompressionEnabled();
    if (!clientSideEncryption.isEncryptionEnabled())
        return tr("Compression");
    return compression ? tr("Compression / Encryption") : tr("Encryption");
}

EncryptLocalFileAtomicOperation* EncryptLocalFileAtomicOperation::clone(OperationGroup* parent) const
{
    return new EncryptLocalFileAtomicOperation(parent, file, clientSideEncryption);
}
