#include "operations/encryptlocalfileatomicoperation.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryFile>

#include "crypto/fileencoder.h"
#include "operations/localoperationrunner.h"

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

void EncryptLocalFileAtomicOperation::run(LocalOperationRunner& runner)
{
    file->refreshSize();
    const qint64 size = file->size();
    // An empty file goes as it is: no gzip frame, no cipher header.
    if (size == 0)
        return;
    QFile input(file->path());
    QSharedPointer<QIODevice> output;
    if (size <= _maxInMemorySize) {
        output = QSharedPointer<QBuffer>::create();
    } else {
        const auto temporary = QSharedPointer<QTemporaryFile>::create();
        // Removed with the upload's last reference to it.
        temporary->setAutoRemove(true);
        output = temporary;
    }
    const QString path = file->displayPath();
    const auto fail = [&](const OpError& error) {
        OpError reported = error;
        if (error.type() == OpError::FileError)
            reported = OpError(OpError::FileError, QString(),
                               QStringLiteral("Operation: %1\nPath: %2\n%3").arg(name(), path, error.message()),
                               QString());
        setError(reported);
        runner.log(QStringLiteral("Error : ") + reported.toString(false));
    };
    if (!input.open(QIODevice::ReadOnly) || !output->open(QIODevice::WriteOnly)) {
        const QIODevice* failed = input.isOpen() ? output.data() : &input;
        fail(OpError(OpError::FileError, QString(), failed->errorString(), QString()));
        return;
    }
    logEncodingSettings(runner);
    FileEncoder encoder(clientSideEncryption);
    const bool encoded = encoder.encode(&input, output.data());
    input.close();
    output->close();
    if (!encoded) {
        fail(encoder.error());
        return;
    }
    setIV(encoder.iv());
    encodedSize = output->size();
    device = output;
}

void EncryptLocalFileAtomicOperation::logEncodingSettings(LocalOperationRunner& runner) const
{
    const ClientSideEncryption& settings = clientSideEncryption;
    if (settings.isCompressionEnabled()) {
        runner.log(QByteArray("Compression: gzip"));
        runner.log("Compression level: "
                   + (settings.compressionLevel() != 0 ? QByteArray::number(settings.compressionLevel()) : "Default"));
    }
    if (settings.isEncryptionEnabled()) {
        runner.log("Encryption: " + ClientSideEncryption::description(settings.algorithm()));
        runner.log("Use random salt: " + QByteArray(settings.isSalted() ? "true" : "false"));
    }
}
