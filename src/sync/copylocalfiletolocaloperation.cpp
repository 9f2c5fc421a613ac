#include "sync/copylocalfiletolocaloperation.h"

#include <QFileInfo>

#include "operations/copylocalfiletolocalatomicoperation.h"
#include "operations/localmd5atomicoperation.h"
#include "operations/overwriteconfirmoperation.h"

CopyLocalFileToLocalOperation::CopyLocalFileToLocalOperation(
    OperationGroup* parent, const QSharedPointer<LocalFile>& source,
    const QSharedPointer<AbstractLocalContainer>& destination, const QString& fileName,
    ShellCopyFileOperation::CopyFlags flags)
    : OperationGroup(parent), m_source(source), m_destination(destination),
      m_deleteSource(flags.testFlag(ShellCopyFileOperation::Move)),
      m_compareBeforeAsking(flags.testFlag(ShellCopyFileOperation::CompareExisting)), m_fileName(fileName),
      m_failIfExists(flags.testFlag(ShellCopyFileOperation::FailIfExists))
{
}

BrindleLib::OverwriteMode CopyLocalFileToLocalOperation::topLevelOverwriteMode()
{
    AbstractOperation* top = topLevelOperation();
    return top->isGroup() ? static_cast<OperationGroup*>(top)->overwriteMode() : BrindleLib::OverwriteAsk;
}

void CopyLocalFileToLocalOperation::prepareFirstOperation()
{
    QSharedPointer<LocalFile> target(new LocalFile(m_destination, m_fileName));
    if (!QFileInfo(target->path()).exists()) {
        copyFile();
        return;
    }
    if (m_failIfExists) {
        setError(OpError(OpError::GeneralError, QString(),
                         tr("A file named '%1' already exists in '%2'.").arg(m_source->name(), m_destination->name()),
                         QString()));
        return;
    }
    m_existingFile = target;
    const BrindleLib::OverwriteMode mode = topLevelOverwriteMode();
    if (mode != BrindleLib::OverwriteAsk) {
        decide(mode);
        return;
    }
    if (!m_compareBeforeAsking) {
        confirm();
        return;
    }
    appendThen(new LocalMd5AtomicOperation(this, m_source),
               [this](LocalMd5AtomicOperation* done) { md5Finished(done, m_sourceMd5); });
    appendThen(new LocalMd5AtomicOperation(this, m_existingFile),
               [this](LocalMd5AtomicOperation* done) { md5Finished(done, m_targetMd5); });
}

// Skip or overwrite by a mode that is already known.
void CopyLocalFileToLocalOperation::decide(BrindleLib::OverwriteMode mode)
{
    if (BrindleLib::isSkip(mode))
        m_transferSkipped = true;
    else if (BrindleLib::isOverwrite(mode))
        copyFile();
}

void CopyLocalFileToLocalOperation::copyFile()
{
    appendThen(new CopyLocalFileToLocalAtomicOperation(this, m_source, m_destination, m_deleteSource, m_fileName),
               [this](CopyLocalFileToLocalAtomicOperation* copy) {
                   if (copy->error().isNull())
                       m_copiedLocalFile = copy->destinationFile.staticCast<LocalFile>();
               });
}

void CopyLocalFileToLocalOperation::confirm()
{
    const BrindleLib::OverwriteMode mode = overwriteMode();
    if (BrindleLib::isOverwrite(mode)) {
        copyFile();
    } else if (mode == BrindleLib::OverwriteAsk) {
        m_existingFile->refreshSize();
        appendThen(new OverwriteConfirmOperation, [this](OverwriteConfirmOperation* question) {
            answered(question->overwriteMode());
        });
    }
}

void CopyLocalFileToLocalOperation::answered(BrindleLib::OverwriteMode answer)
{
    setOverwriteMode(answer);
    if (BrindleLib::isOverwrite(answer))
        copyFile();
    else
        m_transferSkipped = true;
    // An answer "always" holds for the rest of the run.
    AbstractOperation* top = topLevelOperation();
    if ((answer == BrindleLib::OverwriteAlways || answer == BrindleLib::SkipAlways) && top->isGroup())
        static_cast<OperationGroup*>(top)->setOverwriteMode(answer);
}

void CopyLocalFileToLocalOperation::md5Finished(LocalMd5AtomicOperation* child, QByteArray& md5)
{
    if (!child->error().isNull())
        return;
    md5 = child->md5;
    if (m_sourceMd5.isEmpty() || m_targetMd5.isEmpty())
        return;
    if (m_sourceMd5 == m_targetMd5)
        m_transferSkipped = true;
    else
        confirm();
}
