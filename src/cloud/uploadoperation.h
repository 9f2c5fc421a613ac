#ifndef UPLOADOPERATION_H
#define UPLOADOPERATION_H

#include <QIODevice>
#include <QSharedPointer>

#include "cloud/abstractacl.h"
#include "cloud/transfersettings.h"
#include "net/httpheader.h"
#include "net/metadata.h"
#include "operations/operationgroup.h"

class AbstractCloudFile;
class AbstractS3Folder;
class AbstractUser;
class EncoderOutput;
class GetS3ContainerAclOperation;
class LocalFile;

// Sends a prepared stream as one object and turns the store's answer into the
// item that now stands there. The object gets the ACL of the directive: a
// canned one in the PUT itself, any other by a PUT of its own afterwards; or,
// for ContainerAcl, the bucket's, read first.
class UploadOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(UploadOperation)

public:
    UploadOperation(OperationGroup* parent, const QSharedPointer<LocalFile>& source,
                    const QSharedPointer<QIODevice>& device, qint64 size,
                    const QSharedPointer<AbstractS3Folder>& folder, const QByteArray& contentMd5,
                    const Metadata& metadata, const TransferSettings& settings);

    QString name() const override { return tr("Upload"); }
    void prepareFirstOperation() override;

    // The object after a successful PUT; null before or after a failure.
    QSharedPointer<AbstractCloudFile> uploadedFile() const;
    void clearSourceDevice();
    // The object is this encoder's output, sent in parts while it is written;
    // the device and size given above then mean nothing.
    void setEncoderOutput(const QSharedPointer<EncoderOutput>& output) { m_encoderOutput = output; }

private:
    void appendUploadToWsOp();
    // The object as the store's answer to its PUT, or to the completion of
    // its parts, describes it.
    void takeAnswer(AbstractOperation* child, const HttpResponseHeader& answer, AbstractAcl::Canned canned,
                    qint64 size);
    void takeContainerAcl(const GetS3ContainerAclOperation* child);

    const QSharedPointer<LocalFile> m_source;
    QSharedPointer<QIODevice> m_device;
    const qint64 m_size;
    const QSharedPointer<AbstractS3Folder> m_folder;
    const QByteArray m_contentMd5;
    const Metadata m_metadata;
    // Its ACL directive turns into the bucket's list once that is read.
    TransferSettings m_settings;
    QSharedPointer<EncoderOutput> m_encoderOutput;
    QSharedPointer<AbstractUser> m_owner;
    QSharedPointer<AbstractCloudFile> m_uploadedFile;
    mutable FastMutex m_resultMutex;
};

#endif
