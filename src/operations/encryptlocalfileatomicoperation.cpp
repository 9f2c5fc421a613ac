#include "operations/encryptlocalfileatomicoperation.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryFile>

#include "crypto/fileencoder.h"
#include "operations/encoderoutput.h"
#include "operations/localoperationrunner.h"
#include "operations/retrypolicy.h"

EncryptLocalFileAtomicOperation::EncryptLocalFileAtomicOperation(OperationGroup* parent,
                                                                 const QSharedPointer<LocalFile>& file,
                                                                 const ClientSideEncryption& clientSideEncryption)
    : clientSideEncryption(clientSideEncryption), file(file)
{
    setParent(parent);
}

EncryptLocalFileAtomicOperation::EncryptLocalFileAtomicOperation(OperationGroup* parent,
                                                                 const QSharedPointer<EncoderOutput>& output)
    : clientSideEncryption(output->settings()), file(output->source()), m_output(output)
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
    if (m_output)
        return new EncryptLocalFileAtomicOperation(parent, m_output);
    return new EncryptLocalFileAtomicOperation(parent, file, clientSideEncryption);
}

void EncryptLocalFileAtomicOperation::run(LocalOperationRunner& runner)
{
    if (m_output) {
        QFile output(m_output->path());
        // Unbuffered: what is counted as written is in the file for the parts to read.
        if (encode(&output, runner))
            encodedSize = output.size();
        else
            setErrorCounter(RetryPolicy::maxLocalRuns);
        return;
    }
    file->refreshSize();
    const qint64 size = file->size();
    // An empty file goes as it is: no gzip frame, no cipher header.
    if (size == 0)
        return;
    const QSharedPointer<QIODevice> output = makeOutput(size);
    if (encode(output.data(), runner)) {
        encodedSize = output->size();
        device = output;
    }
}

QSharedPointer<QIODevice> EncryptLocalFileAtomicOperation::makeOutput(qint64 size) const
{
    if (size <= _maxInMemorySize)
        return QSharedPointer<QBuffer>::create();
    const auto temporary = QSharedPointer<QTemporaryFile>::create();
    // Removed with the upload's last reference to it.
    temporary->setAutoRemove(true);
    return temporary;
}

bool EncryptLocalFileAtomicOperation::encode(QIODevice* output, LocalOperationRunner& runner)
{
    QFile input(file->path());
    const QIODevice::OpenMode mode = m_output ? QIODevice::WriteOnly | QIODevice::Unbuffered : QIODevice::WriteOnly;
    if (!input.open(QIODevice::ReadOnly) || !output->open(mode)) {
        const QIODevice* failed = input.isOpen() ? output : &input;
        fail(OpError(OpError::FileError, QString(), failed->errorString(), QString()), runner);
        return false;
    }
    logEncodingSettings(runner);
    FileEncoder encoder(clientSideEncryption);
    if (m_output) {
        encoder.setSalt(m_output->salt());
        const QSharedPointer<EncoderOutput> published = m_output;
        encoder.setProgress([published](qint64 written) {
            published->setWritten(written);
            return !published->isCancelled();
        });
    }
    const bool encoded = encoder.encode(&input, output);
    input.close();
    output->close();
    // Stopped because the upload was given up: its own error says why.
    if (!encoded && !encoder.error().isNull())
        fail(encoder.error(), runner);
    setIV(encoder.iv());
    return encoded;
}

void EncryptLocalFileAtomicOperation::fail(const OpError& error, LocalOperationRunner& runner)
{
    OpError reported = error;
    if (error.type() == OpError::FileError)
        reported = OpError(OpError::FileError, QString(),
                           QStringLiteral("Operation: %1\nPath: %2\n%3").arg(name(), file->displayPath(), error.message()),
                           QString());
    setError(reported);
    runner.log(QStringLiteral("Error : ") + reported.toString(false));
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
