#include "cloud/multipartuploadoperation.h"

#include "cloud/multipartrequests.h"
#include "crypto/multipart.h"
#include "items/abstractcloudfile.h"
#include "operations/encoderoutput.h"
#include "operations/encryptlocalfileatomicoperation.h"

MultipartUploadOperation::MultipartUploadOperation(OperationGroup* parent,
                                                   const QSharedPointer<AbstractCloudFile>& target,
                                                   const QSharedPointer<QIODevice>& device, const QString& path,
                                                   qint64 size, const Metadata& objectFields, int partsInFlight)
    : OperationGroup(parent), m_target(target), m_device(device), m_path(path), m_size(size),
      m_objectFields(objectFields), m_partsInFlight(qMax(1, partsInFlight)),
      m_partSize(Multipart::partSizeFor(size))
{
}

MultipartUploadOperation::MultipartUploadOperation(OperationGroup* parent,
                                                   const QSharedPointer<AbstractCloudFile>& target,
                                                   const QSharedPointer<AbstractCloudFile>& copySource,
                                                   qint64 partSize, const Metadata& objectFields, int partsInFlight)
    : OperationGroup(parent), m_target(target), m_copySource(copySource), m_size(copySource->size()),
      m_objectFields(objectFields), m_partsInFlight(qMax(1, partsInFlight)), m_partSize(partSize)
{
}

MultipartUploadOperation::MultipartUploadOperation(OperationGroup* parent,
                                                   const QSharedPointer<AbstractCloudFile>& target,
                                                   const QSharedPointer<EncoderOutput>& encoding,
                                                   const Metadata& objectFields, int partsInFlight)
    : OperationGroup(parent), m_target(target), m_device(encoding->file()), m_path(encoding->path()),
      m_encoding(encoding), m_size(-1), m_objectFields(objectFields), m_partsInFlight(qMax(1, partsInFlight))
{
    // Fixed before the encoded size is known, so sized for the worst the
    // encoder can do.
    const ClientSideEncryption settings = encoding->settings();
    m_partSize = Multipart::partSizeFor(Multipart::encodedSizeBound(
        encoding->plainSize(), settings.isCompressionEnabled(), settings.isEncryptionEnabled()));
}

void MultipartUploadOperation::prepareFirstOperation()
{
    if (m_encoding) {
        m_encoderRunning = true;
        appendThen(new EncryptLocalFileAtomicOperation(this, m_encoding),
                   [this](EncryptLocalFileAtomicOperation* done) { takeEncoded(done); });
    }
    m_initiating = true;
    appendThen(new InitiateMultipartAtomicOperation(this, m_target, m_objectFields),
               [this](InitiateMultipartAtomicOperation* done) { takeInitiated(done); });
}

// The encoder's progress is read on each pass of the scheduler, which is
// on the deciding thread.
AbstractOperation* MultipartUploadOperation::takeNextToExecute()
{
    if (m_encoderRunning)
        advance();
    return OperationGroup::takeNextToExecute();
}

void MultipartUploadOperation::takeInitiated(const InitiateMultipartAtomicOperation* child)
{
    m_initiating = false;
    if (child->error().isNull())
        m_uploadId = child->newUploadId;
    else
        m_failed = true;
    advance();
}

void MultipartUploadOperation::takeEncoded(const EncryptLocalFileAtomicOperation* encoder)
{
    m_encoderRunning = false;
    if (encoder->error().isNull() && !m_encoding->isCancelled())
        m_size = encoder->encodedSize;
    else
        m_failed = true;
    advance();
}

// Called once a part has its final outcome: retries are behind it.
void MultipartUploadOperation::takePart(const PartAtomicOperation* part)
{
    --m_running;
    if (!part->error().isNull()) {
        m_failed = true;
    } else {
        m_partETags[part->number() - 1] = part->eTag;
        ++m_partsDone;
    }
    advance();
}

void MultipartUploadOperation::advance()
{
    if (m_closing)
        return;
    if (m_failed) {
        if (m_encoding)
            m_encoding->cancel();
        // The abort waits for the parts on the wire, which would outlive it,
        // and for the initiate, which may yet open an upload.
        if (m_running == 0 && !m_initiating && !m_uploadId.isEmpty())
            giveUp();
        return;
    }
    if (m_uploadId.isEmpty())
        return;
    while (m_running < m_partsInFlight && partReady(m_nextPart))
        appendNextPart();
    if (m_size >= 0 && m_partsDone == Multipart::partCount(m_size, m_partSize))
        appendComplete();
}

bool MultipartUploadOperation::partReady(int number) const
{
    if (m_size >= 0)
        return number <= Multipart::partCount(m_size, m_partSize);
    // While the encoder runs, only whole parts: the last one's length is not known yet.
    return m_encoding->written() >= Multipart::partOffset(number + 1, m_partSize);
}

void MultipartUploadOperation::appendNextPart()
{
    const int number = m_nextPart++;
    ++m_running;
    if (m_partETags.size() < number)
        m_partETags.resize(number);
    const qint64 offset = Multipart::partOffset(number, m_partSize);
    const qint64 length = m_size < 0 ? m_partSize : Multipart::partLength(number, m_size, m_partSize);
    const auto then = [this](PartAtomicOperation* done) { takePart(done); };
    if (m_copySource)
        appendThen<PartAtomicOperation>(
            new CopyPartAtomicOperation(this, m_target, m_uploadId, number, m_copySource, offset, length), then);
    else
        appendThen<PartAtomicOperation>(
            new UploadPartAtomicOperation(this, m_target, m_uploadId, number, m_path, offset, length), then);
}

void MultipartUploadOperation::appendComplete()
{
    m_closing = true;
    appendThen(new CompleteMultipartAtomicOperation(this, m_target, m_uploadId, m_partETags),
               [this](CompleteMultipartAtomicOperation* done) {
                   if (!done->error().isNull()) {
                       giveUp();
                       return;
                   }
                   FastMutexLocker locker(m_resultMutex);
                   m_completionAnswer = done->httpResponseHeader();
               });
}

void MultipartUploadOperation::giveUp()
{
    m_closing = true;
    appendThen(new AbortMultipartAtomicOperation(this, m_target, m_uploadId),
               [this](AbortMultipartAtomicOperation* done) {
                   if (!done->error().isNull())
                       putFirst(OpError(OpError::GeneralError, QString(),
                                        tr("The multipart upload %1 could not be aborted: its parts stay in the "
                                           "store until it is").arg(QString::fromLatin1(m_uploadId)),
                                        QString()));
               });
}

// Only the first error of a file reaches the console; parts left behind are
// billed, so their upload id goes before the failure that caused them.
void MultipartUploadOperation::putFirst(const OpError& error)
{
    const QList<OpError> earlier = errors();
    for (const OpError& e : earlier)
        removeError(e.errorId());
    setError(error);
    for (const OpError& e : earlier)
        addChildrenError(e);
}

HttpResponseHeader MultipartUploadOperation::completionAnswer() const
{
    return lockedRead(m_resultMutex, m_completionAnswer);
}
