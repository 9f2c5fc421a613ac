#include "cloud/copywsfiletowsoperation.h"

#include <functional>

#include "cloud/copywsfiletowsatomicoperation.h"
#include "cloud/getcloudfileacloperation.h"
#include "cloud/gets3containeracloperation.h"
#include "cloud/headwsfileoperation.h"
#include "cloud/multipartuploadoperation.h"
#include "cloud/uploadatomicoperation.h"
#include "crypto/multipart.h"
#include "cloud/puts3acloperation.h"
#include "cloud/wslistoperation.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstracts3folder.h"
#include "items/driver.h"
#include "net/timeoffset.h"
#include "operations/overwriteconfirmoperation.h"

CopyWSFileToWSOperation::CopyWSFileToWSOperation(OperationGroup* parent,
                                                 const QSharedPointer<AbstractCloudFile>& source,
                                                 const QSharedPointer<AbstractS3Folder>& destination,
                                                 const QString& name, bool failIfExists,
                                                 const MetadataDirective& metadataDirective,
                                                 const OverwriteMode& overwriteMode, const TransferSettings& settings)
    : OperationGroup(parent), m_source(source), m_destination(destination), m_name(name),
      m_failIfExists(failIfExists), m_metadataDirective(metadataDirective), m_overwriteMode(overwriteMode),
      m_settings(settings)
{
}

void CopyWSFileToWSOperation::prepareFirstOperation()
{
    nextOp();
}

BrindleLib::OverwriteMode CopyWSFileToWSOperation::topLevelMode()
{
    AbstractOperation* top = topLevelOperation();
    if (top == this || !top->isGroup())
        return BrindleLib::OverwriteAlways;
    return static_cast<OperationGroup*>(top)->overwriteMode();
}

// A single copy stops at 5 GiB; beyond, the store copies ranges as parts.
bool CopyWSFileToWSOperation::isCopiedInParts() const
{
    return m_source->size() > Multipart::_maximumSinglePut;
}

// A copy in parts starts a new upload, which takes the metadata of no
// object: the source's is read to be given again.
bool CopyWSFileToWSOperation::needsSourceHead() const
{
    return isCopiedInParts() || m_overwriteMode.keepMetadata() || m_metadataDirective.directive() == MetadataDirective::MergeDirective
        || m_settings.serverSideEncryption.mode() == ServerSideEncryption::KeepExisting;
}

// A synchronisation keeps nothing and always overwrites: no head of the
// target. failIfExists needs the head too, or it could never see a target.
bool CopyWSFileToWSOperation::needsDestinationHead()
{
    return m_failIfExists || m_overwriteMode.keepsAnything() || !BrindleLib::isOverwrite(topLevelMode());
}

bool CopyWSFileToWSOperation::needsVersions() const
{
    return m_settings.storageDirective.mode() == StorageDirective::KeepMode
        && m_source->account()->hasFeature(AbstractAccount::StorageClassFeature);
}

// Each step runs once, in this order; a step that is not needed counts as
// done. The first one that appends a child waits for it.
void CopyWSFileToWSOperation::nextOp()
{
    // The copy goes on once a step has succeeded and found nothing against it.
    const auto goOnIf = [this](bool goOn) {
        if (goOn)
            nextOp();
    };
    const auto takeHead = [this, goOnIf](HeadWSFileOperation* head, bool (CopyWSFileToWSOperation::*take)(const HeadWSFileOperation*)) {
        appendThen(head, [this, goOnIf, take](HeadWSFileOperation* done) {
            goOnIf(done->error().isNull() && (this->*take)(done));
        });
        return true;
    };
    const auto takeAclOf = [this, goOnIf](auto* read) {
        appendThen(read, [this, goOnIf](auto* done) {
            if (done->error().isNull())
                takeAcl(done->acl);
            goOnIf(done->error().isNull());
        });
        return true;
    };
    const std::pair<bool*, std::function<bool()>> steps[] = {
        {&m_sourceHeadDone,
         [&] {
             return needsSourceHead()
                 && takeHead(new HeadWSFileOperation(this, m_source), &CopyWSFileToWSOperation::takeSourceHead);
         }},
        {&m_destinationHeadDone,
         [&] {
             if (!needsDestinationHead())
                 return false;
             m_target = Driver::createChildFile(m_destination, m_name);
             return takeHead(new HeadWSFileOperation(this, m_target), &CopyWSFileToWSOperation::takeDestinationHead);
         }},
        {&m_destinationAclDone,
         [&] { return m_overwriteMode.keepAcl() && m_existingFile && takeAclOf(new GetCloudFileAclOperation(this, m_existingFile)); }},
        {&m_versionsDone,
         [&] {
             if (!needsVersions())
                 return false;
             appendThen(new WSListOperation(this, m_source,
                                            m_source->isLatest() ? BrindleLib::ListCurrentVersions
                                                                 : BrindleLib::ListAllVersions),
                        [this, goOnIf](WSListOperation* done) {
                            if (done->error().isNull())
                                takeVersions(done);
                            goOnIf(done->error().isNull());
                        });
             return true;
         }},
        {&m_sourceAclDone,
         [&] {
             return m_settings.aclDirective.directive() == AclDirective::SourceAcl
                 && takeAclOf(new GetCloudFileAclOperation(this, m_source));
         }},
        {&m_containerAclDone,
         [&] {
             return m_settings.aclDirective.directive() == AclDirective::ContainerAcl
                 && takeAclOf(new GetS3ContainerAclOperation(this, m_destination, true));
         }},
        {&m_copyStarted,
         [&] {
             appendCopy();
             return true;
         }},
    };
    for (const auto& [done, step] : steps) {
        if (*done)
            continue;
        *done = true;
        if (step())
            return;
    }
}

void CopyWSFileToWSOperation::appendCopy()
{
    if (isCopiedInParts()) {
        const Metadata metadata = m_metadataDirective.directive() == MetadataDirective::ReplaceDirective
            ? m_metadataDirective.metadata()
            : m_sourceMetadata;
        const Metadata fields =
            UploadAtomicOperation::objectFields(m_destination->account(), m_name, metadata, m_settings);
        // Parts of 1 GiB or more: each is one request that moves no byte here.
        appendThen(new MultipartUploadOperation(this, Driver::createChildFile(m_destination, m_name), m_source,
                                                qMax(Multipart::partSizeFor(m_source->size()), Multipart().partSize()),
                                                fields, Multipart().partsInFlight()),
                   [this](MultipartUploadOperation* done) {
                       if (done->error().isNull())
                           takeCopyInParts(done);
                   });
        return;
    }
    appendThen(new CopyWSFileToWSAtomicOperation(this, m_source, m_destination, m_name, m_metadataDirective,
                                                 m_settings),
               [this](CopyWSFileToWSAtomicOperation* done) {
                   if (done->error().isNull() && done->httpResponseHeader().statusCode() == 200)
                       takeCopy(done->file());
               });
}

bool CopyWSFileToWSOperation::takeSourceHead(const HeadWSFileOperation* head)
{
    if (m_settings.serverSideEncryption.mode() == ServerSideEncryption::KeepExisting)
        m_settings.serverSideEncryption = head->serverSideEncryption
            ? ServerSideEncryption(ServerSideEncryption::Enabled, ServerSideEncryption::Aes256)
            : ServerSideEncryption();
    if (m_overwriteMode.keepMetadata() || isCopiedInParts())
        m_sourceMetadata = head->metadata;
    if (m_metadataDirective.directive() == MetadataDirective::MergeDirective) {
        // An empty value removes the field; any other replaces it.
        Metadata merged = head->metadata;
        const Metadata given = m_metadataDirective.metadata();
        for (int i = 0; i < given.count(); ++i) {
            if (given.at(i).value().isEmpty())
                merged.remove(given.at(i).key());
            else
                merged.append(given.at(i));
        }
        m_metadataDirective = MetadataDirective(MetadataDirective::ReplaceDirective, merged);
    }
    return true;
}

bool CopyWSFileToWSOperation::takeDestinationHead(const HeadWSFileOperation* head)
{
    if (!head->file)
        return true;
    m_existingFile = head->file;
    if (m_failIfExists) {
        m_targetExists = true;
        setError(OpError(OpError::GeneralError, QString(),
                         tr("A file named '%1' already exists in '%2'.").arg(m_name, m_destination->displayPath()),
                         QString()));
        return false;
    }
    const BrindleLib::OverwriteMode mode = topLevelMode();
    if (mode == BrindleLib::OverwriteAsk) {
        appendThen(new OverwriteConfirmOperation, [this](OverwriteConfirmOperation* question) {
            if (takeOverwriteAnswer(question->overwriteMode()))
                nextOp();
        });
        return false;
    }
    if (BrindleLib::isSkip(mode)) {
        m_transferSkipped = true;
        addToTransferProgress(m_source->size());
        return false;
    }
    if (m_overwriteMode.keepMetadata())
        m_metadataDirective =
            MetadataDirective(MetadataDirective::ReplaceDirective, keptMetadata(head->metadata));
    return true;
}

Metadata CopyWSFileToWSOperation::keptMetadata(const Metadata& target) const
{
    Metadata kept = target;
    kept.remove(Metadata::specialKeys());
    for (const QByteArray& key : Metadata::specialKeys()) {
        if (m_sourceMetadata.contains(key))
            kept.append(m_sourceMetadata.field(key));
    }
    return kept;
}

bool CopyWSFileToWSOperation::takeOverwriteAnswer(BrindleLib::OverwriteMode answer)
{
    setOverwriteMode(answer);
    AbstractOperation* top = topLevelOperation();
    if (top != this && top->isGroup()
        && (answer == BrindleLib::OverwriteAlways || answer == BrindleLib::SkipAlways))
        static_cast<OperationGroup*>(top)->setOverwriteMode(answer);
    if (BrindleLib::isOverwrite(answer))
        return true;
    m_transferSkipped = true;
    return false;
}

void CopyWSFileToWSOperation::takeVersions(const WSListOperation* list)
{
    // An older version is found by its id, the current object by its key.
    for (const QSharedPointer<AbstractFile>& entry : list->files) {
        const auto file = entry.dynamicCast<AbstractCloudFile>();
        if (!file || file->path() != m_source->path())
            continue;
        if (!m_source->isLatest() && file->versionId() != m_source->versionId())
            continue;
        m_settings.storageDirective = StorageDirective(StorageDirective::SetMode, file->storageClass());
        return;
    }
}

void CopyWSFileToWSOperation::takeAcl(const QSharedPointer<AbstractAcl>& acl)
{
    m_settings.aclDirective = AclDirective(AclDirective::UseAcl, acl);
}

// An ACL with a canned name went in the copy's head; any other needs a
// request of its own on the new object.
void CopyWSFileToWSOperation::takeCopy(const QSharedPointer<AbstractCloudFile>& file)
{
    {
        FastMutexLocker locker(m_resultMutex);
        m_copiedFile = file;
    }
    const QSharedPointer<AbstractAcl> acl = m_settings.aclDirective.acl();
    if (m_settings.aclDirective.directive() == AclDirective::UseAcl && acl && acl->canned() == AbstractAcl::NotCanned)
        append(new PutS3AclOperation(this, file, acl));
}

// The completion's answer names no size or checksum: the size is the
// source's, and its plain MD5, if any, came along in the metadata.
void CopyWSFileToWSOperation::takeCopyInParts(const MultipartUploadOperation* upload)
{
    const QSharedPointer<AbstractCloudFile> file = Driver::createChildFile(m_destination, m_name);
    file->setSize(m_source->size());
    file->setLastModified(
        fromHttpDate(QString::fromLatin1(upload->completionAnswer().field("Date").value())).toLocalTime());
    if (const QSharedPointer<AbstractUser> owner = Driver::accountOwner(m_destination->account()))
        file->setOwner(owner);
    takeCopy(file);
}

QSharedPointer<AbstractCloudFile> CopyWSFileToWSOperation::copiedFile() const
{
    FastMutexLocker locker(m_resultMutex);
    return m_copiedFile;
}
