#include "cloud/copywsfiletowsatomicoperation.h"

#include "cloud/uploadatomicoperation.h"
#include "cloud/wscopyobjectresultxmlreader.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstracts3folder.h"
#include "items/driver.h"
#include "items/url.h"

const QByteArray CopyWSFileToWSAtomicOperation::_copy = "COPY";
const QByteArray CopyWSFileToWSAtomicOperation::_replace = "REPLACE";
const QByteArray CopyWSFileToWSAtomicOperation::_standard = "STANDARD";

CopyWSFileToWSAtomicOperation::CopyWSFileToWSAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& source,
    const QSharedPointer<AbstractS3Folder>& destination, const QString& name,
    const MetadataDirective& metadataDirective, const TransferSettings& settings)
    : WSObjectOperation(parent, Driver::createChildFile(destination, name)), m_source(source),
      m_destination(destination), m_name(name), m_metadataDirective(metadataDirective), m_settings(settings)
{
}

CopyWSFileToWSAtomicOperation* CopyWSFileToWSAtomicOperation::clone(OperationGroup* parent) const
{
    return new CopyWSFileToWSAtomicOperation(parent, m_source, m_destination, m_name, m_metadataDirective,
                                             m_settings);
}

QByteArray CopyWSFileToWSAtomicOperation::copySource(const QSharedPointer<AbstractCloudFile>& source)
{
    // The source's own account built its URL, so its style says whether the
    // bucket is in the host or already first in the path.
    const QSharedPointer<AbstractS3Folder> folder = source->folder();
    const QUrl url = source->url();
    QByteArray value;
    if (Url::isDnsCompatible(folder->bucketName())
        && source->account()->requestStyle() != BrindleLib::RequestStylePath)
        value = folder->bucketName().toLatin1();
    value += url.path(QUrl::FullyEncoded).toLatin1();
    if (url.hasQuery())
        value += '?' + url.query(QUrl::FullyEncoded).toLatin1();
    return value;
}

Metadata CopyWSFileToWSAtomicOperation::httpFieldList() const
{
    const QSharedPointer<AbstractAccount> account = this->account();
    Metadata fields = WSObjectOperation::httpFieldList();
    if (canned() != AbstractAcl::NotCanned)
        fields.append(HttpField(account->xAcl(), AbstractAcl::cannedToByteArray(canned())));
    fields.append(HttpField(account->xCopySource(), copySource(m_source)));
    switch (m_metadataDirective.directive()) {
    case MetadataDirective::CopyDirective:
        fields.append(HttpField(account->xMetadataDirective(), _copy));
        break;
    case MetadataDirective::ReplaceDirective:
        fields.append(HttpField(account->xMetadataDirective(), _replace));
        fields.append(m_metadataDirective.metadata());
        break;
    default:
        break;
    }
    if (m_settings.storageDirective.mode() == StorageDirective::SetMode
        && account->hasFeature(AbstractAccount::StorageClassFeature))
        fields.append(HttpField(account->xStorageClass(),
                                m_settings.storageDirective.storageClass() == StorageDirective::ReducedRedundancyStorage
                                    ? UploadAtomicOperation::_reducedRedundancy
                                    : _standard));
    if (m_settings.serverSideEncryption.mode() == ServerSideEncryption::Enabled
        && m_settings.serverSideEncryption.algorithm() == ServerSideEncryption::Aes256
        && account->hasFeature(AbstractAccount::ServerSideEncryptionFeature))
        fields.append(HttpField(account->xServerSideEncryption(), UploadAtomicOperation::_aes256));
    return fields;
}

bool CopyWSFileToWSAtomicOperation::processResponseData()
{
    const HttpResponseHeader header = httpResponseHeader();
    if (header.statusCode() != 200)
        return WSObjectOperation::processResponseData();
    // A store has answered a copy with an XML result labelled as HTML;
    // any other type is no copy result at all.
    bool isDocument = false;
    for (const QByteArray& piece : header.field("Content-type").value().split(';'))
        isDocument = isDocument || piece.contains("text/html") || piece.contains("application/xml");
    if (!isDocument) {
        setError(OpError(OpError::GeneralError, QString(), QStringLiteral("Invalid response"), QString()));
        return true;
    }
    // A failed copy may still come with 200 and an Error document.
    WSCopyObjectResultXmlReader reader(account(), responseData());
    reader.readDocument();
    if (!reader.error().isNull()) {
        setError(reader.error());
        return true;
    }
    takeResult(reader.lastModified(), reader.eTag());
    return true;
}

void CopyWSFileToWSAtomicOperation::takeResult(const QDateTime& lastModified, const QByteArray& md5)
{
    const QSharedPointer<AbstractCloudFile> target = file();
    target->setLastModified(lastModified.toLocalTime());
    target->setMd5Sum(md5);
    target->setSize(m_source->size());
    target->setOwner(Driver::accountOwner(account()));
}
