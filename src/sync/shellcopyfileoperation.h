#ifndef SHELLCOPYFILEOPERATION_H
#define SHELLCOPYFILEOPERATION_H

#include <QSharedPointer>

#include "cloud/transfersettings.h"
#include "items/abstractfile.h"
#include "items/abstractfolder.h"
#include "operations/abstractshelloperation.h"
#include "operations/overwritemode.h"

class CopyWSFileToWSOperation;

// Brings one file to a folder under a given name. It picks the one group
// that can do it (local copy, upload, download, copy inside a store) and
// knows nothing of the transfer itself.
class ShellCopyFileOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellCopyFileOperation)

public:
    enum CopyFlag {
        NoCopyFlags = 0,
        // Delete the source once the copy is in.
        Move = 0x1,
        // A local copy onto an existing file fails instead of replacing it.
        FailIfExists = 0x2,
        // A download computes the MD5 of what it wrote.
        ComputeMd5 = 0x4,
        // Skip the transfer when the target already has the same content.
        CompareExisting = 0x8
    };
    Q_DECLARE_FLAGS(CopyFlags, CopyFlag)

    ShellCopyFileOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& file,
                           const QSharedPointer<AbstractFolder>& destinationFolder, const QString& name,
                           CopyFlags flags, const OverwriteMode& overwriteMode, const TransferSettings& settings);

    QString name() const override;
    QString sourceDisplayPath() const override;
    QString destinationDisplayPath() const override;
    bool isEffectiveOperation() const override { return true; }

    QSharedPointer<AbstractFile> file() const { return m_file; }
    QSharedPointer<AbstractFile> copiedFile() const { return m_copiedFile; }
    bool sourceGone() const { return m_sourceGone; }

private:
    void dispatch();
    void moveStep(AbstractOperation* child, bool skipped);
    void copiedInStore(CopyWSFileToWSOperation* copy);

    QSharedPointer<AbstractFile> m_file;
    QSharedPointer<AbstractFolder> m_destinationFolder;
    QString m_destinationName;
    CopyFlags m_flags;
    bool m_sourceGone = false;
    OverwriteMode m_overwriteMode;
    TransferSettings m_settings;
    QSharedPointer<AbstractFile> m_copiedFile;
    mutable QString m_destinationDisplayPathCache;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(ShellCopyFileOperation::CopyFlags)

#endif
