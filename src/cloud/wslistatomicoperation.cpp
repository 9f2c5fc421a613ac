#include "cloud/wslistatomicoperation.h"

#include "cloud/wsliststreamreader.h"
#include "items/abstractbucket.h"

WSListAtomicOperation::WSListAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket,
                                             const QSharedPointer<AbstractS3Folder>& folder, const QString& marker,
                                             const QString& maxKeys, BrindleLib::EntryListMode entryListMode,
                                             const Filter& filter)
    : AbstractWSListAtomicOperation(parent, bucket, folder, maxKeys, entryListMode, filter), m_marker(marker)
{
}

WSListAtomicOperation::WSListAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractBucket>& bucket,
                                             const QSharedPointer<AbstractCloudFile>& file, const QString& marker,
                                             const QString& maxKeys)
    : AbstractWSListAtomicOperation(parent, bucket, file, maxKeys), m_marker(marker)
{
}

QUrl WSListAtomicOperation::url() const
{
    // The prefix item stays even when empty (a bucket); in file mode the
    // query starts with "&".
    QString query = isFileMode() ? QStringLiteral("&prefix=") : QStringLiteral("prefix=");
    query += QString::fromLatin1(QUrl::toPercentEncoding(listedPrefix(), "/"));
    query += queryItem(QStringLiteral("marker"), m_marker);
    query += queryItem(QStringLiteral("max-keys"), maxKeys());
    query += delimiterQuery();
    QUrl target = S3ContainerOperation::url();
    target.setQuery(query, QUrl::TolerantMode);
    return target;
}

WSListAtomicOperation* WSListAtomicOperation::clone(OperationGroup* parent) const
{
    WSListAtomicOperation* copy =
        isFileMode() ? new WSListAtomicOperation(parent, bucket(), file(), m_marker, maxKeys())
                     : new WSListAtomicOperation(parent, bucket(), folder(), m_marker, maxKeys(), entryListMode(),
                                                 filter());
    copyStateTo(copy);
    return copy;
}

std::unique_ptr<AbstractWSListStreamReader> WSListAtomicOperation::makeReader(const QByteArray& data) const
{
    return std::make_unique<WSListStreamReader>(account(), listedContainer(), data, entryListMode(), filter());
}

void WSListAtomicOperation::takePaging(const AbstractWSListStreamReader& reader)
{
    nextMarker = static_cast<const WSListStreamReader&>(reader).nextMarker();
}
