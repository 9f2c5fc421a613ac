#include "cloud/copylocalfiletowsoperation.h"

#include "cloud/getcloudfileacloperation.h"
#include "cloud/headwsfileoperation.h"
#include "cloud/uploadoperation.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstracts3folder.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "operations/encoderoutput.h"
#include "operations/encryptlocalfileatomicoperation.h"
#include "operations/localmd5atomicoperation.h"
#include "operations/overwriteconfirmoperation.h"
#include "util/uploadfiledevice.h"

namespace {
bool isEncoded(const ClientSideEncryption& settings)
{
    return settings.isEncryptionEnabled() || settings.isCompressionEnabled();
}
} // namespace

CopyLocalFileToWSOperation::CopyLocalFileToWSOperation(
    OperationGroup* parent, const QSharedPointer<LocalFile>& source,
    const QSharedPointer<AbstractS3Folder>& destinationFolder, bool computeMd5, const OverwriteMode& overwriteMode,
    const TransferSettings& settings)
    : OperationGroup(parent), m_source(source), m_destinationFolder(destinationFolder), m_computeMd5(computeMd5),
      m_overwriteMode(overwriteMode), m_settings(settings)
{
    m_source->refreshSize();
    m_size = m_source->size();
    // An empty file is stored as it is: no gzip frame, no cipher header.
    if (m_size == 0)
        m_settings.clientSideEncryption = ClientSideEncryption();
    addToTransferSize(m_size);
}

BrindleLib::OverwriteMode CopyLocalFileToWSOperation::topLevelMode()
{
    AbstractOperation* top = topLevelOperation();
    if (top == this || !top->isGroup())
        return BrindleLib::OverwriteAlways;
    return static_cast<OperationGroup*>(top)->overwriteMode();
}

bool CopyLocalFileToWSOperation::startsAtOnce()
{
    return !m_overwriteMode.keepAcl() && !m_overwriteMode.keepMetadata()
        && m_settings.serverSideEncryption.mode() != ServerSideEncryption::KeepExisting && BrindleLib::isOverwrite(topLevelMode());
}

void CopyLocalFileToWSOperation::prepareFirstOperation()
{
    // A synchronisation keeps nothing and overwrites always: one PUT, no HEAD.
    if (startsAtOnce())
        start();
    else
        appendHead();
}

void CopyLocalFileToWSOperation::appendHead()
{
    appendThen(new HeadWSFileOperation(this, Driver::createChildFile(m_destinationFolder, m_source->name())),
               [this](HeadWSFileOperation* head) {
                   if (head->error().isNull())
                       takeExistingObject(head->file, head->metadata);
               });
}

void CopyLocalFileToWSOperation::takeExistingObject(const QSharedPointer<AbstractCloudFile>& file,
                                                    const Metadata& metadata)
{
    if (m_overwriteMode.keepMetadata()) {
        Metadata kept = metadata;
        kept.remove(Metadata::specialKeys());
        m_metadata.append(kept);
    }
    if (m_settings.serverSideEncryption.mode() == ServerSideEncryption::KeepExisting
        && metadata.contains(m_destinationFolder->account()->xServerSideEncryption()))
        m_settings.serverSideEncryption = ServerSideEncryption(ServerSideEncryption::Enabled, ServerSideEncryption::Aes256);
    if (!file) {
        start();
        return;
    }
    m_existingFile = file;
    AbstractOperation* top = topLevelOperation();
    if (top == this || !top->isGroup()) {
        decide(BrindleLib::OverwriteAlways);
        return;
    }
    const BrindleLib::OverwriteMode mode = static_cast<OperationGroup*>(top)->overwriteMode();
    if (mode == BrindleLib::OverwriteAsk) {
        appendThen(new OverwriteConfirmOperation,
                   [this](OverwriteConfirmOperation* question) { takeOverwriteAnswer(question->overwriteMode()); });
    } else if (BrindleLib::isSkip(mode)) {
        m_transferSkipped = true;
        addToTransferProgress(m_size);
    } else {
        decide(mode);
    }
}

void CopyLocalFileToWSOperation::decide(BrindleLib::OverwriteMode mode)
{
    if (BrindleLib::isOverwrite(mode))
        overwrite();
    else
        skipTransfer();
}

// The object in place is replaced; to keep its ACL, that is read first.
void CopyLocalFileToWSOperation::overwrite()
{
    if (m_overwriteMode.keepAcl())
        appendThen(new GetCloudFileAclOperation(this, m_existingFile), [this](GetCloudFileAclOperation* read) {
            m_settings.aclDirective = AclDirective(AclDirective::UseAcl, read->acl);
            start();
        });
    else
        start();
}

void CopyLocalFileToWSOperation::skipTransfer()
{
    m_transferSkipped = true;
    addToTransferSize(-m_size);
}

bool CopyLocalFileToWSOperation::needsPlainMd5() const
{
    // A multipart ETag is no MD5: the object then carries the plain one.
    return isEncoded(m_settings.clientSideEncryption) || m_settings.multipart.appliesTo(m_size);
}

void CopyLocalFileToWSOperation::start()
{
    if (needsPlainMd5())
        appendMd5(QSharedPointer<QIODevice>(), SourceMd5Tag);
    else if (m_computeMd5)
        appendMd5(QSharedPointer<QIODevice>(), ContentMd5Tag);
    else
        appendUploadToWSOp();
}

void CopyLocalFileToWSOperation::appendMd5(const QSharedPointer<QIODevice>& device, Md5Tag tag)
{
    auto* md5 = new LocalMd5AtomicOperation(this, m_source, device);
    md5->setTag(tag);
    appendThen(md5, [this](LocalMd5AtomicOperation* done) { takeMd5(done); });
}

void CopyLocalFileToWSOperation::appendComputeMd5AfterOp()
{
    appendMd5(m_uploadDevice, ContentMd5Tag);
}

void CopyLocalFileToWSOperation::appendEncryptOp()
{
    appendThen(new EncryptLocalFileAtomicOperation(this, m_source, m_settings.clientSideEncryption),
               [this](EncryptLocalFileAtomicOperation* encrypt) {
                   if (!encrypt->error().isNull())
                       return;
                   const QSharedPointer<QIODevice> device = encrypt->device;
                   encrypt->device.reset();
                   takeEncodedForm(device, encrypt->encodedSize, encrypt->iv());
               });
}

// Above the threshold (of the plain size) the file is encoded while its
// parts already go up; the metadata is complete before the encoder starts,
// and the encoded size counts once the upload has it.
void CopyLocalFileToWSOperation::startEncodedParts()
{
    const auto output = QSharedPointer<EncoderOutput>::create(m_source, m_settings.clientSideEncryption);
    if (!output->prepare()) {
        setError(output->error());
        return;
    }
    m_encoderOutput = output;
    m_uploadDevice = output->file();
    takeEncodedForm(QSharedPointer<QIODevice>(), 0, output->iv());
}

void CopyLocalFileToWSOperation::takeEncodedForm(const QSharedPointer<QIODevice>& device, qint64 encodedSize,
                                                 const QByteArray& iv)
{
    // Without a device (the file was emptied meanwhile) the plain file goes,
    // measured when the upload is appended.
    if (device) {
        m_uploadDevice = device;
        countUploadSize(encodedSize);
    }
    const QSharedPointer<AbstractAccount> account = m_destinationFolder->account();
    if (m_settings.clientSideEncryption.isEncryptionEnabled()) {
        m_metadata.append(HttpField(account->xMetaBrindleboxEncryption(),
                                    m_settings.clientSideEncryption.toByteArray() + "; " + iv.toBase64()));
    } else if (m_settings.clientSideEncryption.isCompressionEnabled()) {
        // Never with encryption: the store must not see a gzip claim on cipher text.
        m_metadata.append(HttpField("Content-Encoding", "gzip"));
    }
    appendPlainContentFields();
}

// The plain size and MD5, by which a later run compares the object with the
// file without fetching it.
void CopyLocalFileToWSOperation::appendPlainContentFields()
{
    const QSharedPointer<AbstractAccount> account = m_destinationFolder->account();
    m_metadata.append(HttpField(account->xMetaBrindleboxETag(), m_sourceMd5.toBase64()));
    m_metadata.append(HttpField(account->xMetaBrindleboxContentLength(), QByteArray::number(m_size)));
    // Parts carry no checksum of the whole: nothing to read before they go.
    if (m_computeMd5 && !m_encoderOutput)
        appendComputeMd5AfterOp();
    else
        appendUploadToWSOp();
}

void CopyLocalFileToWSOperation::countUploadSize(qint64 uploadSize)
{
    m_uploadSize = uploadSize;
    addToTransferSize(uploadSize - m_size);
}

void CopyLocalFileToWSOperation::appendUploadToWSOp()
{
    if (!m_uploadDevice) {
        // Measured as late as possible, and left closed: the client opens it.
        auto* file = new UploadFileDevice(m_source->path());
        countUploadSize(file->size());
        m_uploadDevice.reset(file);
    }
    auto* upload = new UploadOperation(this, m_source, m_uploadDevice, m_uploadSize, m_destinationFolder, m_contentMd5,
                                       m_metadata, m_settings);
    upload->setEncoderOutput(m_encoderOutput);
    appendThen(upload, [this](UploadOperation* done) { takeUpload(done); });
}

void CopyLocalFileToWSOperation::takeOverwriteAnswer(BrindleLib::OverwriteMode answer)
{
    setOverwriteMode(answer);
    decide(answer);
    AbstractOperation* top = topLevelOperation();
    if (top != this && top->isGroup() && (answer == BrindleLib::OverwriteAlways || answer == BrindleLib::SkipAlways))
        static_cast<OperationGroup*>(top)->setOverwriteMode(answer);
}

void CopyLocalFileToWSOperation::takeUpload(UploadOperation* upload)
{
    if (!upload->error().isNull())
        return;
    {
        FastMutexLocker locker(m_resultMutex);
        m_uploadedFile = upload->uploadedFile();
    }
    if (m_encoderOutput && m_uploadedFile)
        countUploadSize(m_uploadedFile->size());
    // The last hold on a temporary file goes with these.
    m_uploadDevice.reset();
    upload->clearSourceDevice();
}

// A failed pass appends nothing: its error ends the group.
void CopyLocalFileToWSOperation::takeMd5(const LocalMd5AtomicOperation* child)
{
    if (!child->error().isNull())
        return;
    const QByteArray md5 = child->md5;
    if (child->tag() == SourceMd5Tag) {
        m_sourceMd5 = md5;
        if (isEncoded(m_settings.clientSideEncryption) && m_settings.multipart.appliesTo(m_size))
            startEncodedParts();
        else if (isEncoded(m_settings.clientSideEncryption))
            appendEncryptOp();
        else
            appendPlainContentFields();
    } else {
        m_contentMd5 = md5;
        appendUploadToWSOp();
    }
}

QSharedPointer<AbstractCloudFile> CopyLocalFileToWSOperation::uploadedFile() const { return lockedRead(m_resultMutex, m_uploadedFile); }
