#include "cloud/abstractwslistatomicoperation.h"

#include "cloud/abstractwsliststreamreader.h"
#include "items/abstractbucket.h"
#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"

AbstractWSListAtomicOperation::AbstractWSListAtomicOperation(OperationGroup* parent,
                                                             const QSharedPointer<AbstractBucket>& bucket,
                                                             const QSharedPointer<AbstractS3Folder>& folder,
                                                             const QString& maxKeys,
                                                             BrindleLib::EntryListMode entryListMode,
                                                             const Filter& filter)
    : S3ContainerOperation(parent, bucket), m_bucket(bucket), m_folder(folder), m_maxKeys(maxKeys),
      m_entryListMode(entryListMode), m_filter(filter)
{
}

AbstractWSListAtomicOperation::AbstractWSListAtomicOperation(OperationGroup* parent,
                                                             const QSharedPointer<AbstractBucket>& bucket,
                                                             const QSharedPointer<AbstractCloudFile>& file,
                                                             const QString& maxKeys)
    : S3ContainerOperation(parent, bucket), m_bucket(bucket), m_file(file), m_maxKeys(maxKeys),
      m_entryListMode(BrindleLib::ListOneLevel)
{
}

QSharedPointer<AbstractS3Folder> AbstractWSListAtomicOperation::listedContainer() const
{
    return isFileMode() ? m_file->folder() : m_folder;
}

void AbstractWSListAtomicOperation::setFolderMap(const QHash<QString, QSharedPointer<AbstractWSFolder>>& folderMap)
{
    m_folderMap = folderMap;
}

void AbstractWSListAtomicOperation::clearList()
{
    files.clear();
    folders.clear();
}

QString AbstractWSListAtomicOperation::listedPrefix() const
{
    return isFileMode() ? m_file->path() : m_folder->path();
}

QString AbstractWSListAtomicOperation::delimiterQuery() const
{
    if (m_entryListMode != BrindleLib::ListOneLevel)
        return QString();
    // Encoded without exception: the store sees "%2F", never a bare "/".
    return queryItem(QStringLiteral("delimiter"), QString(listedContainer()->delimiter()));
}

QString AbstractWSListAtomicOperation::queryItem(const QString& name, const QString& value)
{
    if (value.isEmpty())
        return QString();
    return QLatin1Char('&') + name + QLatin1Char('=') + QString::fromLatin1(QUrl::toPercentEncoding(value));
}

void AbstractWSListAtomicOperation::copyStateTo(AbstractWSListAtomicOperation* copy) const
{
    copy->m_folderMap = m_folderMap;
}

bool AbstractWSListAtomicOperation::processResponseData()
{
    const HttpResponseHeader header = httpResponseHeader();
    if (header.statusCode() != 200)
        return S3ContainerOperation::processResponseData();
    bool isXml = false;
    for (const QByteArray& part : header.field("Content-type").value().split(';'))
        isXml = isXml || part.contains("application/xml");
    if (!isXml)
        return true;

    std::unique_ptr<AbstractWSListStreamReader> reader = makeReader(responseData());
    reader->setFolderMap(m_folderMap);
    reader->readDocument();
    if (!reader->error().isNull()) {
        setError(reader->error());
        return true;
    }
    // A prefix also names the keys that merely begin like the object's.
    if (isFileMode())
        reader->retainKey(m_file->path());
    files = reader->files();
    folders = reader->folders();
    isTruncated = reader->isTruncated();
    hasContent = reader->hasContent();
    m_folderMap = reader->folderMap();
    takePaging(*reader);
    return true;
}
