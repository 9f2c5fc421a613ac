#ifndef DELETEMARKER_H
#define DELETEMARKER_H

#include <QByteArray>
#include <QDateTime>
#include <QSharedDataPointer>
#include <QSharedPointer>
#include <QString>

class AbstractS3Folder;

// The marker that a versioned store lays where an object was deleted. A
// default-constructed marker is null: there is none.
class DeleteMarker
{
public:
    DeleteMarker();
    DeleteMarker(const QString& key, const QByteArray& versionId, bool isLatest,
                 const QDateTime& lastModified, const QSharedPointer<AbstractS3Folder>& parent,
                 const QByteArray& ownerId);
    DeleteMarker(const DeleteMarker& other);
    DeleteMarker& operator=(const DeleteMarker& other);
    ~DeleteMarker();

    bool isNull() const { return !d; }
    QString key() const;
    QByteArray versionId() const;
    bool isLasted() const;
    QDateTime lastModified() const;
    QSharedPointer<AbstractS3Folder> parent() const;
    QByteArray ownerId() const;

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
