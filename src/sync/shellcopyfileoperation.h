#ifndef SHELLCOPYFILEOPERATION_H
#define SHELLCOPYFILEOPERATION_H

#include <QSharedPointer>

#include "cloud/acldirective.h"
#include "crypto/clientsideencryption.h"
#include "crypto/multipart.h"
#include "crypto/password.h"
#include "crypto/serversideencryption.h"
#include "crypto/storagedirective.h"
#include "items/abstractfile.h"
#include "items/abstractfolder.h"
#include "operations/abstractshelloperation.h"
#include "operations/overwritemode.h"

// Brings one file to a folder under a given name. It picks the one group
// that can do it (local copy, upload, download, copy inside a store) and
// knows nothing of the transfer itself.
class ShellCopyFileOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellCopyFileOperation)

public:
    ShellCopyFileOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& file,
                           const QSharedPointer<AbstractFolder>& destinationFolder, const QString& name, bool move,
                           const AclDirective& aclDirective, bool failIfExists, bool computeMd5, bool compareExisting,
                           const OverwriteMode& overwriteMode, const ClientSideEncryption& clientSideEncryption,
                           const ServerSideEncryption& serverSideEncryption,
                           const StorageDirective& storageDirective, const Multipart& multipart,
                           const DecryptionPasswords& decryptionPasswords);

    int type() const override { return ShellCopyFileType; }
    QString name() const override;
    bool prepareNextOperation(AbstractOperation* child) override;
    QString sourceDisplayPath() const override;
    QString destinationDisplayPath() const override;
    bool isEffectiveOperation() const override { return true; }

    QSharedPointer<AbstractFile> file() const { return m_file; }
    QSharedPointer<AbstractFile> copiedFile() const { return m_copiedFile; }
    bool sourceGone() const { return m_sourceGone; }

private:
    void dispatch();
    void moveStep(AbstractOperation* child, bool skipped);

    QSharedPointer<AbstractFile> m_file;
    QSharedPointer<AbstractFolder> m_destinationFolder;
    QString m_destinationName;
    bool m_move;
    bool m_sourceGone = false;
    bool m_compareExisting;
    bool m_failIfExists;
    bool m_computeMd5;
    AclDirective m_aclDirective;
    OverwriteMode m_overwriteMode;
    ClientSideEncryption m_clientSideEncryption;
    ServerSideEncryption m_serverSideEncryption;
    StorageDirective m_storageDirective;
    Multipart m_multipart;
    DecryptionPasswords m_decryptionPasswords;
    QSharedPointer<AbstractFile> m_copiedFile;
    mutable QString m_destinationDisplayPathCache;
};

#endif
