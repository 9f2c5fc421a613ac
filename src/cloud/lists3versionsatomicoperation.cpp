#include "cloud/lists3versionsatomicoperation.h"

#include "cloud/wslistversionsstreamreader.h"
#include "items/abstractbucket.h"

namespace {
const QString global_versionsQuery = QStringLiteral("versions");
}

ListS3VersionsAtomicOperation::ListS3VersionsAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket, const QSharedPointer<AbstractS3Folder>& folder,
    const QString& keyMarker, const QByteArray& versionIdMarker, const QString& maxKeys,
    BrindleLib::EntryListMode entryListMode, const Filter& filter)
    : AbstractWSListAtomicOperation(parent, bucket, folder, maxKeys, entryListMode, filter), m_keyMarker(keyMarker),
      m_versionIdMarker(versionIdMarker)
{
}

ListS3VersionsAtomicOperation::ListS3VersionsAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket, const QSharedPointer<AbstractCloudFile>& file,
    const QString& keyMarker, const QByteArray& versionIdMarker, const QString& maxKeys)
    : AbstractWSListAtomicOperation(parent, bucket, file, maxKeys), m_keyMarker(keyMarker),
      m_versionIdMarker(versionIdMarker)
{
}

QUrl ListS3VersionsAtomicOperation::url() const
{
    QString query = global_versionsQuery + QStringLiteral("&prefix=")
        + QString::fromLatin1(QUrl::toPercentEncoding(listedPrefix(), "/"));
    query += delimiterQuery();
    query += queryItem(QStringLiteral("max-keys"), maxKeys());
    query += queryItem(QStringLiteral("key-marker"), m_keyMarker);
    query += queryItem(QStringLiteral("version-id-marker"), QString::fromLatin1(m_versionIdMarker));
    QUrl target = S3ContainerOperation::url();
    target.setQuery(query, QUrl::TolerantMode);
    return target;
}

QUrl ListS3VersionsAtomicOperation::canonicalizedResource() const
{
    QUrl resource = S3ContainerOperation::canonicalizedResource();
    resource.setQuery(global_versionsQuery);
    return resource;
}

ListS3VersionsAtomicOperation* ListS3VersionsAtomicOperation::clone(OperationGroup* parent) const
{
    ListS3VersionsAtomicOperation* copy =
        isFileMode()
            ? new ListS3VersionsAtomicOperation(parent, bucket(), file(), m_keyMarker, m_versionIdMarker, maxKeys())
            : new ListS3VersionsAtomicOperation(parent, bucket(), folder(), m_keyMarker, m_versionIdMarker, maxKeys(),
                                                entryListMode(), filter());
    copyStateTo(copy);
    return copy;
}

std::unique_ptr<AbstractWSListStreamReader> ListS3VersionsAtomicOperation::makeReader(const QByteArray& data) const
{
    return std::make_unique<WSListVersionsStreamReader>(account(), listedContainer(), data, entryListMode(),
                                                        filter());
}

void ListS3VersionsAtomicOperation::takePaging(const AbstractWSListStreamReader& reader)
{
    const auto& versions = static_cast<const WSListVersionsStreamReader&>(reader);
    nextKeyMarker = versions.nextKeyMarker();
    nextVersionIdMarker = versions.nextVersionIdMarker();
}
