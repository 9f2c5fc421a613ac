#include "sync/shellcopyfileoperation.h"

#include "items/abstractlocalcontainer.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "sync/copylocalfiletolocaloperation.h"

ShellCopyFileOperation::ShellCopyFileOperation(
    OperationGroup* parent, const QSharedPointer<AbstractFile>& file,
    const QSharedPointer<AbstractFolder>& destinationFolder, const QString& name, bool move, bool failIfExists,
    bool computeMd5, bool compareExisting, const OverwriteMode& overwriteMode,
    const ClientSideEncryption& clientSideEncryption, const ServerSideEncryption& serverSideEncryption,
    const StorageDirective& storageDirective, const Multipart& multipart,
    const DecryptionPasswords& decryptionPasswords)
    : AbstractShellOperation(parent), m_file(file), m_destinationFolder(destinationFolder),
      m_destinationName(name), m_move(move), m_compareExisting(compareExisting), m_failIfExists(failIfExists),
      m_computeMd5(computeMd5), m_overwriteMode(overwriteMode), m_clientSideEncryption(clientSideEncryption),
      m_serverSideEncryption(serverSideEncryption), m_storageDirective(storageDirective), m_multipart(multipart),
      m_decryptionPasswords(decryptionPasswords)
{
    dispatch();
}

QString ShellCopyFileOperation::name() const
{
    return m_move ? tr("Move") : tr("Copy");
}

// One child for the pair of source kind and target class; any other pair
// gets none and finishes through the kernel's dummy.
void ShellCopyFileOperation::dispatch()
{
    const bool localSource = m_file->itemType() == AbstractItem::LocalFileItem;
    const bool localTarget = m_destinationFolder->fileSystemClass() == AbstractFS::LocalClass;
    if (localSource && localTarget) {
        append(new CopyLocalFileToLocalOperation(this, m_file.staticCast<LocalFile>(),
                                                 m_destinationFolder.staticCast<AbstractLocalContainer>(),
                                                 m_destinationName, m_move, m_compareExisting, m_failIfExists));
    }
}

bool ShellCopyFileOperation::prepareNextOperation(AbstractOperation* child)
{
    if (OperationGroup::prepareNextOperation(child))
        return true;
    switch (child->type()) {
    case CopyLocalFileToLocalType: {
        auto* copy = static_cast<CopyLocalFileToLocalOperation*>(child);
        m_copiedFile = copy->copiedLocalFile();
        // The rename has moved the file already.
        if (m_move && child->error().isNull() && !copy->transferSkipped())
            m_sourceGone = true;
        break;
    }
    case DeleteLocalFileAtomicType:
    case DeleteCloudFileType:
        if (m_move && child->error().isNull())
            m_sourceGone = true;
        break;
    default:
        break;
    }
    return false;
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
