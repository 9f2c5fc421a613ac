#ifndef MULTIPARTUPLOADOPERATION_H
#define MULTIPARTUPLOADOPERATION_H

#include <QCoreApplication>
#include <QIODevice>
#include <QList>
#include <QSharedPointer>

#include "net/httpheader.h"
#include "net/metadata.h"
#include "operations/operationgroup.h"

class AbstractCloudFile;
class EncoderOutput;
class EncryptLocalFileAtomicOperation;
class InitiateMultipartAtomicOperation;
class PartAtomicOperation;

// One object sent as a multipart upload: initiate, the parts (at most
// partsInFlight on the wire, each its own request and so retried alone),
// complete. An upload that is given up is aborted, so that no parts stay
// behind; if even that fails, the error names the upload.
class MultipartUploadOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(MultipartUploadOperation)

public:
    // device is a file (the source or the encoder's temporary output) of
    // size bytes; it is held until the group goes.
    MultipartUploadOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                             const QSharedPointer<QIODevice>& device, const QString& path, qint64 size,
                             const Metadata& objectFields, int partsInFlight);
    // The parts are ranges of an object of the same store, copied by the store.
    MultipartUploadOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                             const QSharedPointer<AbstractCloudFile>& copySource, qint64 partSize,
                             const Metadata& objectFields, int partsInFlight);
    // The parts are cut from an encoder's output while the encoder, a child
    // of this group, still writes it; each goes once all its bytes are there.
    MultipartUploadOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& target,
                             const QSharedPointer<EncoderOutput>& encoding, const Metadata& objectFields,
                             int partsInFlight);

    QString name() const override { return tr("Multipart upload"); }
    void prepareFirstOperation() override;
    AbstractOperation* takeNextToExecute() override;

    // The head of the store's answer to the completion; invalid until then.
    HttpResponseHeader completionAnswer() const;
    QByteArray uploadId() const { return m_uploadId; }
    int partCount() const { return m_partETags.size(); }
    // The size of the object; known once the encoder, if any, has finished.
    qint64 objectSize() const { return m_size; }

private:
    void takeInitiated(const InitiateMultipartAtomicOperation* child);
    void takeEncoded(const EncryptLocalFileAtomicOperation* encoder);
    void takePart(const PartAtomicOperation* part);
    // Sends what may go now: the parts that are ready, the completion once
    // all are stored, or the abort once a failure has settled.
    void advance();
    bool partReady(int number) const;
    void appendNextPart();
    void appendComplete();
    void giveUp();
    void putFirst(const OpError& error);

    const QSharedPointer<AbstractCloudFile> m_target;
    const QSharedPointer<QIODevice> m_device;
    const QString m_path;
    const QSharedPointer<AbstractCloudFile> m_copySource;
    const QSharedPointer<EncoderOutput> m_encoding;
    // -1 while the encoder runs.
    qint64 m_size;
    const Metadata m_objectFields;
    const int m_partsInFlight;
    qint64 m_partSize = 0;
    QByteArray m_uploadId;
    QList<QByteArray> m_partETags;
    int m_nextPart = 1;
    int m_running = 0;
    int m_partsDone = 0;
    bool m_failed = false;
    bool m_encoderRunning = false;
    bool m_initiating = false;
    bool m_closing = false;
    HttpResponseHeader m_completionAnswer;
    mutable FastMutex m_resultMutex;
};

#endif
