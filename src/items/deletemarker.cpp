#include "items/deletemarker.h"

#include "items/abstracts3folder.h"
#include "util/lockeddata.h"

struct DeleteMarker::Private : QSharedData
{
    QString key;
    QByteArray versionId;
    bool isLatest = false;
    QDateTime lastModified;
    QSharedPointer<AbstractS3Folder> parent;
    QByteArray ownerId;
    mutable FastMutex mutex;
};

DeleteMarker::DeleteMarker() = default;

DeleteMarker::DeleteMarker(const QString& key, const QByteArray& versionId, bool isLatest,
                           const QDateTime& lastModified,
                           const QSharedPointer<AbstractS3Folder>& parent,
                           const QByteArray& ownerId)
{
    LockedData::modify(d, [&](Private& data) {
        data.key = key;
        data.versionId = versionId;
        data.isLatest = isLatest;
        data.lastModified = lastModified;
        data.parent = parent;
        data.ownerId = ownerId;
    });
}

DeleteMarker::DeleteMarker(const DeleteMarker& other) = default;
DeleteMarker& DeleteMarker::operator=(const DeleteMarker& other) = default;
DeleteMarker::~DeleteMarker() = default;

QString DeleteMarker::key() const { return LockedData::read(d, &Private::key); }
QByteArray DeleteMarker::versionId() const { return LockedData::read(d, &Private::versionId); }
bool DeleteMarker::isLasted() const { return LockedData::read(d, &Private::isLatest); }
QDateTime DeleteMarker::lastModified() const { return LockedData::read(d, &Private::lastModified); }
QByteArray DeleteMarker::ownerId() const { return LockedData::read(d, &Private::ownerId); }

QSharedPointer<AbstractS3Folder> DeleteMarker::parent() const
{
    return LockedData::read(d, &Private::parent);
}
