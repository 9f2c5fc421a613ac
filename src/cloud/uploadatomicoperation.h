#ifndef UPLOADATOMICOPERATION_H
#define UPLOADATOMICOPERATION_H

#include <QCoreApplication>
#include <QIODevice>
#include <QSharedPointer>

#include "cloud/abstractacl.h"
#include "cloud/transfersettings.h"
#include "cloud/wsobjectoperation.h"
#include "net/metadata.h"

class AbstractAccount;
class AbstractS3Folder;
class LocalFile;

// One PUT of a whole object, its body streamed from a device. The device is
// shared with the retry clones: each attempt reopens it from the start.
class UploadAtomicOperation : public WSObjectOperation
{
    Q_DECLARE_TR_FUNCTIONS(UploadAtomicOperation)

public:
    // The object gets the canned form of the settings' ACL; storage class and
    // server-side encryption as the settings say.
    UploadAtomicOperation(OperationGroup* parent, const QSharedPointer<LocalFile>& source,
                          const QSharedPointer<QIODevice>& device, qint64 size,
                          const QSharedPointer<AbstractS3Folder>& folder, const QByteArray& contentMd5,
                          const Metadata& metadata, const TransferSettings& settings);

    QString name() const override { return tr("Put object"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::PutMethod; }
    int transferType() const override { return UploadTransfer; }
    UploadAtomicOperation* clone(OperationGroup* parent) const override;

    QIODevice* requestDataDevice() const override { return m_device.data(); }
    QByteArray contentMD5() const override { return m_contentMd5; }
    bool initializeRequestDataDevice() override;
    void requestFinished() override {}
    Metadata httpFieldList() const override;
    // The headers that describe the object itself (metadata, type, ACL,
    // storage class, encryption), apart from those of its body.
    static Metadata objectFields(const QSharedPointer<AbstractAccount>& account, const QString& name,
                                 const Metadata& metadata, const TransferSettings& settings);

    QSharedPointer<LocalFile> source() const { return m_source; }
    qint64 size() const { return m_size; }
    AbstractAcl::Canned canned() const { return m_settings.aclDirective.canned(); }
    // Drops this operation's hold on the device, so that a temporary file
    // goes with the group's last reference.
    void clearDevice() { m_device.reset(); }

    static const QByteArray _expect;
    static const QByteArray _100Continue;
    static const QByteArray _contentType;
    static const QByteArray _contentLength;
    static const QByteArray _reducedRedundancy;
    static const QByteArray _aes256;

private:
    const QSharedPointer<LocalFile> m_source;
    QSharedPointer<QIODevice> m_device;
    const qint64 m_size;
    const QSharedPointer<AbstractS3Folder> m_folder;
    const QByteArray m_contentMd5;
    const Metadata m_metadata;
    const TransferSettings m_settings;
};

#endif
