#include "cloud/multipartuploadoperation.h"

#include "cloud/multipartrequests.h"
#include "crypto/multipart.h"
#include "items/abstractcloudfile.h"

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

void MultipartUploadOperation::prepareFirstOperation()
{
    appendThen(new InitiateMultipartAtomicOperation(this, m_target, m_objectFields),
               [this](InitiateMultipartAtomicOperation* done) { takeInitiated(done); });
}

void MultipartUploadOperation::takeInitiated(const InitiateMultipartAtomicOperation* child)
{
    if (!child->error().isNull())
        return;
    m_uploadId = child->newUploadId;
    const int count = Multipart::partCount(m_size, m_partSize);
    for (int i = 0; i < count; ++i)
        m_partETags.append(QByteArray());
    while (m_running < m_partsInFlight && m_nextPart <= count)
        appendNextPart();
}

void MultipartUploadOperation::appendNextPart()
{
    const int number = m_nextPart++;
    ++m_running;
    const qint64 offset = Multipart::partOffset(number, m_partSize);
    const qint64 length = Multipart::partLength(number, m_size, m_partSize);
    const auto then = [this](PartAtomicOperation* done) { takePart(done); };
    if (m_copySource)
        appendThen<PartAtomicOperation>(
            new CopyPartAtomicOperation(this, m_target, m_uploadId, number, m_copySource, offset, length), then);
    else
        appendThen<PartAtomicOperation>(
            new UploadPartAtomicOperation(this, m_target, m_uploadId, number, m_path, offset, length), then);
}

// Called once a part has its final outcome: retries are behind it.
void MultipartUploadOperation::takePart(const PartAtomicOperation* part)
{
    --m_running;
    if (!part->error().isNull())
        m_failed = true;
    else
        m_partETags[part->number() - 1] = part->eTag;
    if (m_failed) {
        // The abort waits for the parts on the wire, which would outlive it.
        if (m_running == 0)
            giveUp();
        return;
    }
    ++m_partsDone;
    if (m_nextPart <= m_partETags.size())
        appendNextPart();
    else if (m_partsDone == m_partETags.size())
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
