#ifndef COMPAREFILECONTENTFORSYNCOPERATION_H
#define COMPAREFILECONTENTFORSYNCOPERATION_H

#include <QSharedPointer>

#include "items/abstractfile.h"
#include "items/abstractfolder.h"
#include "net/metadata.h"
#include "operations/operationgroup.h"

// Do a source file and a destination file hold the same content? Each side
// stands as a size and an MD5: computed from a local file, read from a cloud
// object's head. A cloud side is asked first: a head is cheap, reading a
// local file is not, and a difference in size spares the read.
class AbstractCloudFile;
class HeadWSFileOperation;
class LocalMd5AtomicOperation;

class CompareFileContentForSyncOperation : public OperationGroup
{
public:
    enum Side { SourceSide = 1, DestinationSide = 2 };

    CompareFileContentForSyncOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& source,
                                       const QSharedPointer<AbstractFile>& destination,
                                       const QSharedPointer<AbstractFolder>& destinationFolder);

    QString name() const override { return QStringLiteral("Compare"); }

    QSharedPointer<AbstractFile> source() const { return m_source; }
    QSharedPointer<AbstractFile> destination() const { return m_destination; }
    QSharedPointer<AbstractFolder> destinationFolder() const { return m_destinationFolder; }
    // The size and MD5 of an object's plain content: the store's own, or
    // those that an upload that compressed or encrypted left in metadata.
    // False when the object can't match any local file.
    static bool plainContent(const Metadata& metadata, const QSharedPointer<AbstractCloudFile>& file, qint64* size,
                             QByteArray* md5);

    // Every object is asked by a head request, even where its listing
    // settles the question (QUORLE_COMPARE_BY_HEAD=1): the slower path that
    // the listing's decisions must agree with.
    static bool headForEveryObject();

    // Valid only when the group has no error.
    bool identical() const { return m_identical; }

private:
    struct SideState
    {
        QByteArray md5;
        qint64 size = -1;
        bool done = false;
    };

    void appendSourceOp();
    void appendDestinationOp();
    void appendSideOp(const QSharedPointer<AbstractFile>& file, Side side);
    void md5Finished(LocalMd5AtomicOperation* md5, Side side);
    void headFinished(HeadWSFileOperation* head, Side side);
    // Records one side and goes on with the other, or compares.
    void sideKnown(Side side, const QByteArray& md5, qint64 size, bool checkListedSize);
    void compare();
    // The side whose listed object may settle the comparison, or 0.
    int listedObjectToCheck() const;

    QSharedPointer<AbstractFile> m_source;
    QSharedPointer<AbstractFile> m_destination;
    QSharedPointer<AbstractFolder> m_destinationFolder;
    SideState m_sides[2];
    bool m_identical = true;
    // Set while the local MD5 runs that the listed ETag may confirm.
    int m_listedObject = 0;
};

#endif
