#ifndef COPYLOCALFILETOWSOPERATION_H
#define COPYLOCALFILETOWSOPERATION_H

#include <QIODevice>
#include <QSharedPointer>

#include "cloud/transfersettings.h"
#include "net/metadata.h"
#include "operations/operationgroup.h"
#include "operations/overwritemode.h"

class AbstractCloudFile;
class AbstractS3Folder;
class EncoderOutput;
class LocalFile;
class LocalMd5AtomicOperation;
class UploadOperation;

// Carries one local file to a store: decides whether the object in place is
// looked at first, whether the file is compressed or encrypted on the way,
// and which checksum goes with it; the PUT itself is an UploadOperation.
class CopyLocalFileToWSOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(CopyLocalFileToWSOperation)

public:
    // Tags of the two MD5 passes: over the plain file before it is encoded,
    // and over exactly what is sent.
    enum Md5Tag { SourceMd5Tag = 1, ContentMd5Tag = 2 };

    CopyLocalFileToWSOperation(OperationGroup* parent, const QSharedPointer<LocalFile>& source,
                               const QSharedPointer<AbstractS3Folder>& destinationFolder, bool computeMd5,
                               const OverwriteMode& overwriteMode, const TransferSettings& settings);

    QString name() const override { return tr("Copy"); }
    void prepareFirstOperation() override;

    // What the head of the object in place found: its item (null when there
    // is none) and its metadata.
    void takeExistingObject(const QSharedPointer<AbstractCloudFile>& file, const Metadata& metadata);
    // The encoded form of the file, once the compression or encryption pass
    // has made it: the device to send, its size and the cipher's vector.
    void takeEncodedForm(const QSharedPointer<QIODevice>& device, qint64 encodedSize, const QByteArray& iv);

    QSharedPointer<LocalFile> source() const { return m_source; }
    QSharedPointer<AbstractCloudFile> uploadedFile() const;
    QSharedPointer<AbstractCloudFile> existingFile() const { return m_existingFile; }
    bool transferSkipped() const { return m_transferSkipped; }
    Metadata metadata() const { return m_metadata; }
    QByteArray sourceMd5() const { return m_sourceMd5; }
    QByteArray contentMd5() const { return m_contentMd5; }
    qint64 uploadSize() const { return m_uploadSize; }

private:
    // True when nothing of the object in place needs to be read first.
    bool startsAtOnce();
    BrindleLib::OverwriteMode topLevelMode();
    void appendHead();
    void start();
    bool needsPlainMd5() const;
    void appendPlainContentFields();
    void appendComputeMd5AfterOp();
    void appendEncryptOp();
    void startEncodedParts();
    void appendUploadToWSOp();
    void appendMd5(const QSharedPointer<QIODevice>& device, Md5Tag tag);
    void decide(BrindleLib::OverwriteMode mode);
    void overwrite();
    void skipTransfer();
    // Moves the progress total from the plain size to what goes on the wire.
    void countUploadSize(qint64 uploadSize);
    void takeMd5(const LocalMd5AtomicOperation* child);
    void takeOverwriteAnswer(BrindleLib::OverwriteMode answer);
    void takeUpload(UploadOperation* upload);

    const QSharedPointer<LocalFile> m_source;
    const QSharedPointer<AbstractS3Folder> m_destinationFolder;
    QByteArray m_contentMd5;
    QByteArray m_sourceMd5;
    const bool m_computeMd5;
    bool m_transferSkipped = false;
    const OverwriteMode m_overwriteMode;
    Metadata m_metadata;
    QSharedPointer<QIODevice> m_uploadDevice;
    QSharedPointer<EncoderOutput> m_encoderOutput;
    qint64 m_size = 0;
    qint64 m_uploadSize = 0;
    QSharedPointer<AbstractCloudFile> m_existingFile;
    QSharedPointer<AbstractCloudFile> m_uploadedFile;
    // The run's settings as this file needs them: an empty file stays
    // plain, and what an overwrite keeps replaces the ACL and encryption.
    TransferSettings m_settings;
    mutable FastMutex m_resultMutex;
};

#endif
