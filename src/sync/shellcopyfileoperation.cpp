#include "sync/shellcopyfileoperation.h"

#include "cloud/copylocalfiletowsoperation.h"
#include "cloud/copywsfiletolocaloperation.h"
#include "cloud/copywsfiletowsoperation.h"
#include "items/abstractcloudfile.h"
#include "items/abstractlocalcontainer.h"
#include "items/abstracts3folder.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "operations/deletelocalfileatomicoperation.h"
#include "sync/copylocalfiletolocaloperation.h"

ShellCopyFileOperation::ShellCopyFileOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& file,
                                               const QSharedPointer<AbstractFolder>& destinationFolder,
                                               const QString& name, CopyFlags flags,
                                               const OverwriteMode& overwriteMode, const TransferSettings& settings)
    : AbstractShellOperation(parent), m_file(file), m_destinationFolder(destinationFolder), m_destinationName(name),
      m_flags(flags), m_overwriteMode(overwriteMode), m_settings(settings)
{
    dispatch();
}

QString ShellCopyFileOperation::name() const
{
    return m_flags.testFlag(Move) ? tr("Move") : tr("Copy");
}

// One child for the pair of source kind and target class; any other pair
// gets none and finishes through the kernel's dummy. Upload and download keep
// the source's own name.
void ShellCopyFileOperation::dispatch()
{
    const AbstractItem::ItemType source = m_file->itemType();
    const AbstractFS::FileSystemClass target = m_destinationFolder->fileSystemClass();
    if (source == AbstractItem::CloudFileItem && target == AbstractFS::LocalClass) {
        appendThen(new CopyWSFileToLocalOperation(this, m_file.staticCast<AbstractCloudFile>(),
                                                  m_destinationFolder.staticCast<AbstractLocalContainer>(),
                                                  m_flags.testFlag(ComputeMd5), m_flags.testFlag(CompareExisting),
                                                  m_settings),
                   [this](CopyWSFileToLocalOperation* download) {
                       m_copiedFile = download->downloadedFile();
                       moveStep(download, download->transferSkipped());
                   });
    } else if (source == AbstractItem::LocalFileItem && target == AbstractFS::CloudClass) {
        appendThen(new CopyLocalFileToWSOperation(this, m_file.staticCast<LocalFile>(),
                                                  m_destinationFolder.staticCast<AbstractS3Folder>(),
                                                  m_flags.testFlag(CompareExisting), m_overwriteMode, m_settings),
                   [this](CopyLocalFileToWSOperation* upload) {
                       m_copiedFile = upload->uploadedFile();
                       moveStep(upload, upload->transferSkipped());
                   });
    } else if (source == AbstractItem::LocalFileItem && target == AbstractFS::LocalClass) {
        appendThen(new CopyLocalFileToLocalOperation(this, m_file.staticCast<LocalFile>(),
                                                     m_destinationFolder.staticCast<AbstractLocalContainer>(),
                                                     m_destinationName, m_flags),
                   [this](CopyLocalFileToLocalOperation* copy) {
                       m_copiedFile = copy->copiedLocalFile();
                       // The rename has moved the file already.
                       if (m_flags.testFlag(Move) && copy->error().isNull() && !copy->transferSkipped())
                           m_sourceGone = true;
                   });
    } else if (source == AbstractItem::CloudFileItem && target == AbstractFS::CloudClass) {
        appendThen(new CopyWSFileToWSOperation(this, m_file.staticCast<AbstractCloudFile>(),
                                               m_destinationFolder.staticCast<AbstractS3Folder>(),
                                               m_destinationName, m_flags.testFlag(FailIfExists),
                                               MetadataDirective(MetadataDirective::CopyDirective, Metadata()),
                                               m_overwriteMode, m_settings),
                   [this](CopyWSFileToWSOperation* copy) { copiedInStore(copy); });
    }
}

void ShellCopyFileOperation::copiedInStore(CopyWSFileToWSOperation* copy)
{
    if (m_flags.testFlag(FailIfExists) && copy->targetExists()) {
        setError(OpError(OpError::GeneralError, QString(),
                         tr("A file named '%1' already exists in '%2'.")
                             .arg(m_file->name(), m_destinationFolder->name()),
                         QString()));
        return;
    }
    m_copiedFile = copy->copiedFile();
    moveStep(copy, copy->transferSkipped());
}

// A move removes its source once the copy has succeeded.
void ShellCopyFileOperation::moveStep(AbstractOperation* child, bool skipped)
{
    if (!m_flags.testFlag(Move) || !child->error().isNull() || skipped)
        return;
    if (m_file->fileSystemClass() == AbstractFS::LocalClass) {
        appendThen(new DeleteLocalFileAtomicOperation(this, m_file), [this](DeleteLocalFileAtomicOperation* del) {
            if (del->error().isNull())
                m_sourceGone = true;
        });
        return;
    }
    // The delete request of a cloud object is not part of this build yet; the
    // source stays, and the move says so.
    setError(OpError(OpError::GeneralError, QString(),
                     tr("The source '%1' could not be removed after the copy.").arg(m_file->displayPath()),
                     QString()));
}

QString ShellCopyFileOperation::sourceDisplayPath() const
{
    return m_file->displayPath();
}

QString ShellCopyFileOperation::destinationDisplayPath() const
{
    if (m_destinationDisplayPathCache.isNull())
        m_destinationDisplayPathCache = Driver::createChildFile(m_destinationFolder, m_destinationName)->displayPath();
    return m_destinationDisplayPathCache;
}
