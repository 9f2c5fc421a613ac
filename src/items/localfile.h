#ifndef LOCALFILE_H
#define LOCALFILE_H

#include <QPair>

#include "items/abstractfile.h"
#include "items/abstractlocalcontainer.h"
#include "items/localpath.h"

// A file of the local file system.
class LocalFile : public AbstractFile
{
public:
    // From a listing, with all that the listing saw.
    LocalFile(const QSharedPointer<AbstractLocalContainer>& parent, const QString& path,
              int nameLength, const QDateTime& lastModified, qint64 size);
    // The file called name inside parent, which may not exist yet: the date is
    // invalid and the size means nothing until refreshSize().
    LocalFile(const QSharedPointer<AbstractLocalContainer>& parent, const QString& name);
    LocalFile(const LocalFile& other);
    LocalFile& operator=(const LocalFile&) = delete;

    FileSystemType fileSystemType() const override { return LocalFileSystem; }
    FileSystemClass fileSystemClass() const override { return LocalClass; }
    ItemType itemType() const override { return LocalFileItem; }
    bool isCopyable() const override { return true; }
    bool isMovable() const override { return true; }
    bool isEditable() const override { return true; }
    bool isCopyableToClipboard() const override { return true; }

    QUrl url() const override { return QUrl::fromLocalFile(path()); }
    QString displayName() const override { return name(); }
    QString displayPath() const override { return path(); }
    QSharedPointer<AbstractItem> clone() const override;

    QString path() const override;
    QDateTime lastModified() const override;
    qint64 size() const override;
    QString name() const override { return nameRef().toString(); }
    QStringView nameRef() const override;
    QSharedPointer<AbstractFolder> rootItem() const override;

    // Reads the size from the file system; the size of a file made by name
    // means nothing before this.
    void refreshSize();

    // The size and modification time (ms since the epoch) of the file on disk now.
    QPair<qint64, qint64> diskStamp() const;
    // The MD5 of the whole content as a pass of this run read it, so that one
    // run never reads a file twice for it (a comparison, then an upload);
    // empty once the file on disk no longer has the stamp it had before that read.
    QByteArray knownMd5() const;
    void setKnownMd5(const QByteArray& md5, const QPair<qint64, qint64>& stampBeforeRead);

private:
    const LocalPath m_path;
    const QDateTime m_lastModified;
    qint64 m_size;
    QByteArray m_knownMd5;
    QPair<qint64, qint64> m_knownMd5Stamp;
};

#endif
