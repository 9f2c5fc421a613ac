#ifndef COPYWSFILETOWSOPERATION_H
#define COPYWSFILETOWSOPERATION_H

#include <QSharedPointer>

#include "cloud/metadatadirective.h"
#include "cloud/transfersettings.h"
#include "net/metadata.h"
#include "operations/operationgroup.h"
#include "operations/overwritemode.h"

class AbstractCloudFile;
class AbstractS3Folder;
class HeadWSFileOperation;
class MultipartUploadOperation;
class WSListOperation;

// Copies an object to a folder of the same store without a byte through the
// client. It first learns what the one copy request needs: the source's
// metadata and encryption, the object it replaces, the storage class and the
// ACL to give the copy; then the store duplicates the object.
class CopyWSFileToWSOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(CopyWSFileToWSOperation)

public:
    CopyWSFileToWSOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& source,
                            const QSharedPointer<AbstractS3Folder>& destination, const QString& name,
                            bool failIfExists, const MetadataDirective& metadataDirective,
                            const OverwriteMode& overwriteMode, const TransferSettings& settings);

    QString name() const override { return tr("Copy"); }
    void prepareFirstOperation() override;

    // The new object after a good copy; null before, or after a failure.
    QSharedPointer<AbstractCloudFile> copiedFile() const;
    bool transferSkipped() const { return m_transferSkipped; }
    // True when the copy was refused because failIfExists found a target.
    bool targetExists() const { return m_targetExists; }

private:
    // Appends the first preparatory step not done yet, or the copy itself.
    void nextOp();
    bool needsSourceHead() const;
    bool isCopiedInParts() const;
    bool needsDestinationHead();
    bool needsVersions() const;
    BrindleLib::OverwriteMode topLevelMode();
    void appendCopy();

    // Each returns false when the copy is not to go on.
    bool takeSourceHead(const HeadWSFileOperation* head);
    bool takeDestinationHead(const HeadWSFileOperation* head);
    bool takeOverwriteAnswer(BrindleLib::OverwriteMode answer);
    void takeVersions(const WSListOperation* list);
    void takeAcl(const QSharedPointer<AbstractAcl>& acl);
    void takeCopy(const QSharedPointer<AbstractCloudFile>& file);
    void takeCopyInParts(const MultipartUploadOperation* upload);
    // The old object's fields stay; the fields that describe the content
    // follow the source.
    Metadata keptMetadata(const Metadata& target) const;

    const QSharedPointer<AbstractCloudFile> m_source;
    const QSharedPointer<AbstractS3Folder> m_destination;
    const QString m_name;
    const bool m_failIfExists;
    MetadataDirective m_metadataDirective;
    const OverwriteMode m_overwriteMode;
    // The ACL, storage class and encryption may come from the source or
    // from the object replaced, once their heads are read.
    TransferSettings m_settings;
    QSharedPointer<AbstractCloudFile> m_target;
    QSharedPointer<AbstractCloudFile> m_existingFile;
    Metadata m_sourceMetadata;
    bool m_transferSkipped = false;
    bool m_targetExists = false;

    bool m_sourceHeadDone = false;
    bool m_destinationHeadDone = false;
    bool m_destinationAclDone = false;
    bool m_versionsDone = false;
    bool m_sourceAclDone = false;
    bool m_containerAclDone = false;
    bool m_copyStarted = false;

    QSharedPointer<AbstractCloudFile> m_copiedFile;
    mutable FastMutex m_resultMutex;
};

#endif
