#include "cloud/copywsfiletolocaloperation.h"

#include <QFileInfo>

#include "cloud/downloadoperation.h"
#include "cloud/headwsfileoperation.h"
#include "items/abstractcloudfile.h"
#include "items/abstractlocalcontainer.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "operations/localmd5atomicoperation.h"
#include "operations/overwriteconfirmoperation.h"

CopyWSFileToLocalOperation::CopyWSFileToLocalOperation(OperationGroup* parent,
                                                       const QSharedPointer<AbstractCloudFile>& source,
                                                       const QSharedPointer<AbstractLocalContainer>& destinationFolder,
                                                       bool computeMd5, bool compareExisting,
                                                       const TransferSettings& settings)
    : OperationGroup(parent), m_source(source), m_destinationFolder(destinationFolder), m_computeMd5(computeMd5),
      m_compareExisting(compareExisting), m_decryptionPasswords(settings.decryptionPasswords)
{
    addToTransferSize(m_source->size());
}

BrindleLib::OverwriteMode CopyWSFileToLocalOperation::topLevelOperationOverwriteMode()
{
    AbstractOperation* top = topLevelOperation();
    if (top == this || !top->isGroup())
        return BrindleLib::OverwriteAsk;
    return static_cast<OperationGroup*>(top)->overwriteMode();
}

void CopyWSFileToLocalOperation::prepareFirstOperation()
{
    const QString path =
        AbstractLocalContainer::concatPath(Driver::localDelimiter(), m_destinationFolder->path(), m_source->name());
    if (!QFileInfo::exists(path)) {
        appendDownload();
        return;
    }
    m_existingLocalFile.reset(new LocalFile(m_destinationFolder, m_source->name()));
    const BrindleLib::OverwriteMode mode = topLevelOperationOverwriteMode();
    // A synchronisation overwrites always: this is its path.
    if (BrindleLib::isOverwrite(mode))
        appendDownload();
    else if (!m_compareExisting || BrindleLib::isSkip(mode))
        appendConfirm();
    else
        appendHead();
}

void CopyWSFileToLocalOperation::appendDownload()
{
    appendThen(new DownloadOperation(this, m_source, m_destinationFolder, m_decryptionPasswords, m_computeMd5),
               [this](DownloadOperation* download) { verify(download); });
}

void CopyWSFileToLocalOperation::appendConfirm()
{
    appendThen(new OverwriteConfirmOperation,
               [this](OverwriteConfirmOperation* question) { answered(question->overwriteMode()); });
}

void CopyWSFileToLocalOperation::appendDestinationMd5()
{
    appendThen(new LocalMd5AtomicOperation(this, m_existingLocalFile), [this](LocalMd5AtomicOperation* done) {
        if (!done->error().isNull())
            return;
        m_destinationMd5 = done->md5;
        downloadOrConfirm();
    });
}

void CopyWSFileToLocalOperation::appendHead()
{
    appendThen(new HeadWSFileOperation(this, m_source), [this](HeadWSFileOperation* head) {
        if (head->error().isNull())
            takeHeadResult(head->file);
    });
}

void CopyWSFileToLocalOperation::takeHeadResult(const QSharedPointer<AbstractCloudFile>& file)
{
    if (!file) {
        setError(OpError(OpError::GeneralError, QString(), tr("File not found"), QString()));
        return;
    }
    m_sourceMd5 = file->md5sum();
    const BrindleLib::OverwriteMode mode = topLevelOperationOverwriteMode();
    if (!m_compareExisting || !m_existingLocalFile || BrindleLib::isSkip(mode))
        appendDownload();
    else
        appendDestinationMd5();
}

void CopyWSFileToLocalOperation::downloadOrConfirm()
{
    if (BrindleLib::isOverwrite(topLevelOperationOverwriteMode()))
        appendDownload();
    else
        appendConfirm();
}

void CopyWSFileToLocalOperation::answered(BrindleLib::OverwriteMode answer)
{
    setOverwriteMode(answer);
    if (BrindleLib::isOverwrite(answer)) {
        appendDownload();
    } else {
        m_transferSkipped = true;
        addToTransferProgress(m_source->size());
    }
    AbstractOperation* top = topLevelOperation();
    if (top != this && top->isGroup() && (answer == BrindleLib::OverwriteAlways || answer == BrindleLib::SkipAlways))
        static_cast<OperationGroup*>(top)->setOverwriteMode(answer);
}

// Both checksums known and different: the written file stays, and the
// group fails without a retry.
void CopyWSFileToLocalOperation::verify(DownloadOperation* download)
{
    const QSharedPointer<LocalFile> file = download->downloadedFile();
    const QByteArray expected = download->sourceMd5();
    const QByteArray written = download->downloadedMd5();
    {
        FastMutexLocker locker(m_resultMutex);
        m_downloadedFile = file;
        m_downloadedMd5 = written;
    }
    m_sourceMd5 = expected;
    if (!expected.isEmpty() && !written.isEmpty() && expected != written)
        setError(OpError(OpError::GeneralError, QString(), QStringLiteral("MD5 checksum does not match"),
                         QString()));
}

QSharedPointer<LocalFile> CopyWSFileToLocalOperation::downloadedFile() const { return lockedRead(m_resultMutex, m_downloadedFile); }
