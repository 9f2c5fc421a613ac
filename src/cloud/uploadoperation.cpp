#include "cloud/uploadoperation.h"

#include <QFile>

#include "cloud/gets3containeracloperation.h"
#include "cloud/multipartuploadoperation.h"
#include "cloud/puts3acloperation.h"
#include "cloud/uploadatomicoperation.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstracts3folder.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "net/timeoffset.h"

UploadOperation::UploadOperation(OperationGroup* parent, const QSharedPointer<LocalFile>& source,
                                 const QSharedPointer<QIODevice>& device, qint64 size,
                                 const QSharedPointer<AbstractS3Folder>& folder, const QByteArray& contentMd5,
                                 const Metadata& metadata, const TransferSettings& settings)
    : OperationGroup(parent), m_source(source), m_device(device), m_size(size), m_folder(folder),
      m_contentMd5(contentMd5), m_metadata(metadata), m_settings(settings), m_owner(folder->owner())
{
}

void UploadOperation::prepareFirstOperation()
{
    if (m_settings.aclDirective.directive() == AclDirective::ContainerAcl)
        appendThen(new GetS3ContainerAclOperation(this, m_folder, true),
                   [this](GetS3ContainerAclOperation* done) { takeContainerAcl(done); });
    else
        appendUploadToWsOp();
}

void UploadOperation::appendUploadToWsOp()
{
    // Parts are windows of a file; an encoded form small enough for memory
    // never reaches the threshold.
    auto* file = qobject_cast<QFile*>(m_device.data());
    if (m_encoderOutput || (file && m_settings.multipart.appliesTo(m_size))) {
        const Metadata fields =
            UploadAtomicOperation::objectFields(m_folder->account(), m_source->name(), m_metadata, m_settings);
        const QSharedPointer<AbstractCloudFile> target = Driver::createChildFile(m_folder, m_source->name());
        const int inFlight = m_settings.multipart.partsInFlight();
        auto* multipart = m_encoderOutput
            ? new MultipartUploadOperation(this, target, m_encoderOutput, fields, inFlight)
            : new MultipartUploadOperation(this, target, m_device, file->fileName(), m_size, fields, inFlight);
        appendThen(multipart, [this](MultipartUploadOperation* done) {
            takeAnswer(done, done->completionAnswer(), m_settings.aclDirective.canned(), done->objectSize());
        });
        return;
    }
    appendThen(new UploadAtomicOperation(this, m_source, m_device, m_size, m_folder, m_contentMd5, m_metadata,
                                         m_settings),
               [this](UploadAtomicOperation* done) {
                   takeAnswer(done, done->httpResponseHeader(), done->canned(), m_size);
               });
}

// Without the bucket's list (none there, or not readable) the object takes
// the store's default.
void UploadOperation::takeContainerAcl(const GetS3ContainerAclOperation* child)
{
    const QSharedPointer<AbstractAcl> acl = child->acl;
    m_settings.aclDirective = AclDirective(AclDirective::UseAcl, acl);
    if (acl && acl->owner())
        m_owner = acl->owner();
    appendUploadToWsOp();
}

// The item is made from what the answer says: its date is the server's
// time of the answer, not a stored modification time.
void UploadOperation::takeAnswer(AbstractOperation* child, const HttpResponseHeader& answer,
                                 AbstractAcl::Canned canned, qint64 size)
{
    if (!child->error().isNull() || answer.statusCode() != 200)
        return;
    QSharedPointer<AbstractCloudFile> file = Driver::createChildFile(m_folder, m_source->name());
    file->setSize(size);
    file->setLastModified(fromHttpDate(QString::fromLatin1(answer.field("Date").value())).toLocalTime());
    if (m_owner)
        file->setOwner(m_owner);
    const QByteArray versionId = answer.field(m_folder->account()->xVersionId()).value();
    if (!versionId.isEmpty())
        file->setVersionId(versionId);
    {
        FastMutexLocker locker(m_resultMutex);
        m_uploadedFile = file;
    }
    const QSharedPointer<AbstractAcl> acl = m_settings.aclDirective.acl();
    if (canned == AbstractAcl::NotCanned && acl)
        append(new PutS3AclOperation(this, file, acl));
}

QSharedPointer<AbstractCloudFile> UploadOperation::uploadedFile() const { return lockedRead(m_resultMutex, m_uploadedFile); }

void UploadOperation::clearSourceDevice()
{
    m_device.reset();
    for (int i = 0; i < operationCount(); ++i) {
        AbstractOperation* op = operationAt(i);
        if (auto* upload = dynamic_cast<UploadAtomicOperation*>(op))
            upload->clearDevice();
    }
}
