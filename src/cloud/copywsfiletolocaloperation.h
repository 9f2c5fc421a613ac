#ifndef COPYWSFILETOLOCALOPERATION_H
#define COPYWSFILETOLOCALOPERATION_H

#include <QSharedPointer>

#include "cloud/transfersettings.h"
#include "operations/operationgroup.h"

class AbstractCloudFile;
class AbstractLocalContainer;
class DownloadOperation;
class LocalFile;

// Brings one object to a local folder under the object's own name: decides
// whether it is fetched at all, and compares checksums afterwards.
class CopyWSFileToLocalOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(CopyWSFileToLocalOperation)

public:
    CopyWSFileToLocalOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& source,
                               const QSharedPointer<AbstractLocalContainer>& destinationFolder, bool computeMd5,
                               bool compareExisting, const TransferSettings& settings);

    QString name() const override { return tr("Copy"); }
    void prepareFirstOperation() override;

    // What the head of the object found: its item, null when it has gone.
    void takeHeadResult(const QSharedPointer<AbstractCloudFile>& file);

    QSharedPointer<AbstractCloudFile> source() const { return m_source; }
    QSharedPointer<LocalFile> downloadedFile() const;
    QSharedPointer<LocalFile> existingLocalFile() const { return m_existingLocalFile; }
    bool transferSkipped() const { return m_transferSkipped; }
    QByteArray downloadedMd5() const { return m_downloadedMd5; }

private:
    BrindleLib::OverwriteMode topLevelOperationOverwriteMode();
    void appendDownload();
    void appendConfirm();
    void appendHead();
    void appendDestinationMd5();
    // Downloads or asks, by the mode now known.
    void downloadOrConfirm();
    void verify(DownloadOperation* download);
    void answered(BrindleLib::OverwriteMode answer);

    const QSharedPointer<AbstractCloudFile> m_source;
    const QSharedPointer<AbstractLocalContainer> m_destinationFolder;
    QSharedPointer<LocalFile> m_existingLocalFile;
    QSharedPointer<LocalFile> m_downloadedFile;
    bool m_transferSkipped = false;
    QByteArray m_destinationMd5;
    QByteArray m_sourceMd5;
    const bool m_computeMd5;
    QByteArray m_downloadedMd5;
    const bool m_compareExisting;
    const DecryptionPasswords m_decryptionPasswords;
    mutable FastMutex m_resultMutex;
};

#endif
