#include "cloud/uploadatomicoperation.h"

#include "cloud/aclrequest.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstracts3folder.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "util/contenttypesmanager.h"

const QByteArray UploadAtomicOperation::_expect = "Expect";
const QByteArray UploadAtomicOperation::_100Continue = "100-continue";
const QByteArray UploadAtomicOperation::_contentType = "Content-type";
const QByteArray UploadAtomicOperation::_contentLength = "Content-Length";
const QByteArray UploadAtomicOperation::_reducedRedundancy = "REDUCED_REDUNDANCY";
const QByteArray UploadAtomicOperation::_aes256 = "AES256";

UploadAtomicOperation::UploadAtomicOperation(OperationGroup* parent, const QSharedPointer<LocalFile>& source,
                                             const QSharedPointer<QIODevice>& device, qint64 size,
                                             const QSharedPointer<AbstractS3Folder>& folder,
                                             const QByteArray& contentMd5, const Metadata& metadata,
                                             const TransferSettings& settings)
    : WSObjectOperation(parent, Driver::createChildFile(folder, source->name())), m_source(source),
      m_device(device), m_size(size), m_folder(folder), m_contentMd5(contentMd5), m_metadata(metadata),
      m_settings(settings)
{
}

UploadAtomicOperation* UploadAtomicOperation::clone(OperationGroup* parent) const
{
    return new UploadAtomicOperation(parent, m_source, m_device, m_size, m_folder, m_contentMd5, m_metadata,
                                     m_settings);
}

bool UploadAtomicOperation::initializeRequestDataDevice()
{
    // Opened afresh for every attempt, and before anything is sent: a body that
    // can't be read must fail the file now, not leave the store waiting for it.
    if (!m_device)
        return true;
    if (m_device->isOpen())
        m_device->close();
    if (m_device->open(QIODevice::ReadOnly))
        return true;
    setError(OpError(OpError::FileError, QString(),
                     QStringLiteral("Operation: %1\nPath: %2\n%3")
                         .arg(name(), m_source->displayPath(), m_device->errorString()),
                     QString()));
    return false;
}

Metadata UploadAtomicOperation::httpFieldList() const
{
    const QSharedPointer<AbstractAccount> account = this->account();
    Metadata fields = WSObjectOperation::httpFieldList();
    fields.append(objectFields(account, m_source->name(), m_metadata, m_settings));
    fields.append(HttpField(_contentLength, QByteArray::number(m_size)));
    if (account->hasFeature(AbstractAccount::ExpectContinueFeature))
        fields.append(HttpField(_expect, _100Continue));
    if (!m_contentMd5.isEmpty())
        fields.append(HttpField("Content-MD5", m_contentMd5.toBase64()));
    return fields;
}

Metadata UploadAtomicOperation::objectFields(const QSharedPointer<AbstractAccount>& account, const QString& name,
                                             const Metadata& metadata, const TransferSettings& settings)
{
    const StorageDirective& storageDirective = settings.storageDirective;
    const ServerSideEncryption& serverSideEncryption = settings.serverSideEncryption;
    Metadata fields = metadata;
    // A type that the file's own metadata names wins over the table.
    if (!fields.contains(_contentType)) {
        const QString type = ContentTypesManager::instance()->get(fileExtension(name));
        fields.append(HttpField(_contentType, type.toLatin1()));
    }
    AclRequestHelpers::appendCannedField(fields, account, settings.aclDirective.canned());
    // Stores without the feature get no word of it rather than a refusal.
    if (storageDirective.mode() == StorageDirective::SetMode
        && storageDirective.storageClass() == StorageDirective::ReducedRedundancyStorage
        && account->hasFeature(AbstractAccount::StorageClassFeature))
        fields.append(HttpField(account->xStorageClass(), _reducedRedundancy));
    if (serverSideEncryption.mode() == ServerSideEncryption::Enabled
        && serverSideEncryption.algorithm() == ServerSideEncryption::Aes256
        && account->hasFeature(AbstractAccount::ServerSideEncryptionFeature))
        fields.append(HttpField(account->xServerSideEncryption(), _aes256));
    return fields;
}
