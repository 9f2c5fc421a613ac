#include "sync/comparefilecontentforsyncoperation.h"

#include "cloud/headwsfileoperation.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstracts3folder.h"
#include "items/localfile.h"
#include "operations/localmd5atomicoperation.h"

CompareFileContentForSyncOperation::CompareFileContentForSyncOperation(
    OperationGroup* parent, const QSharedPointer<AbstractFile>& source,
    const QSharedPointer<AbstractFile>& destination, const QSharedPointer<AbstractFolder>& destinationFolder)
    : OperationGroup(parent), m_source(source), m_destination(destination), m_destinationFolder(destinationFolder)
{
    m_listedObject = listedObjectToCheck();
    if (m_listedObject)
        appendSideOp(m_listedObject == SourceSide ? m_destination : m_source, Side(3 - m_listedObject));
    else if (m_source->fileSystemClass() == AbstractFS::CloudClass)
        appendSourceOp();
    else
        appendDestinationOp();
}

bool CompareFileContentForSyncOperation::headForEveryObject()
{
    static const bool always = qEnvironmentVariableIntValue("QUORLE_COMPARE_BY_HEAD") != 0;
    return always;
}

// A listed ETag of 16 bytes is the MD5 of the stored bytes (a single PUT).
// When it and the size match the local twin, the object equals it and no
// head is needed; anything else (another size, a multipart ETag, an
// encoded object) goes through the head as before.
int CompareFileContentForSyncOperation::listedObjectToCheck() const
{
    if (headForEveryObject())
        return 0;
    for (const Side side : {SourceSide, DestinationSide}) {
        const QSharedPointer<AbstractFile>& object = side == SourceSide ? m_source : m_destination;
        const QSharedPointer<AbstractFile>& local = side == SourceSide ? m_destination : m_source;
        if (object->itemType() == AbstractItem::CloudFileItem && local->itemType() == AbstractItem::LocalFileItem
            && object.staticCast<AbstractCloudFile>()->md5sum().size() == 16 && object->size() >= 0
            && object->size() == local->size())
            return side;
    }
    return 0;
}

void CompareFileContentForSyncOperation::appendSourceOp()
{
    appendSideOp(m_source, SourceSide);
}

void CompareFileContentForSyncOperation::appendDestinationOp()
{
    appendSideOp(m_destination, DestinationSide);
}

void CompareFileContentForSyncOperation::appendSideOp(const QSharedPointer<AbstractFile>& file, Side side)
{
    if (file->itemType() == AbstractItem::CloudFileItem) {
        appendThen(new HeadWSFileOperation(this, file.staticCast<AbstractCloudFile>()),
                   [this, side](HeadWSFileOperation* done) {
                       if (done->error().isNull())
                           headFinished(done, side);
                   });
    } else if (file->itemType() == AbstractItem::LocalFileItem) {
        appendThen(new LocalMd5AtomicOperation(this, file), [this, side](LocalMd5AtomicOperation* done) {
            if (done->error().isNull())
                md5Finished(done, side);
        });
    }
}

void CompareFileContentForSyncOperation::headFinished(HeadWSFileOperation* head, Side side)
{
    qint64 size = -1;
    QByteArray md5;
    // An object gone since the listing holds nothing equal either.
    if (!head->file || !plainContent(head->metadata, head->file, &size, &md5)) {
        m_identical = false;
        return;
    }
    sideKnown(side, md5, size, true);
}

bool CompareFileContentForSyncOperation::plainContent(const Metadata& metadata,
                                                      const QSharedPointer<AbstractCloudFile>& file, qint64* size,
                                                      QByteArray* md5)
{
    const QSharedPointer<AbstractAccount> account = file->folder()->account();
    const QByteArray encryptionKey = account->xMetaBrindleboxEncryption();
    const bool encrypted = metadata.contains(encryptionKey);
    const QByteArray settings = metadata.field(encryptionKey).value();
    // Settings that this tool never writes: no plain size or MD5 to trust.
    if (!settings.isEmpty() && ((settings.startsWith("gzip") && settings.count(';') == 1) || !settings.contains(';')))
        return false;
    if (encrypted && metadata.field("Content-Encoding").value() == "gzip")
        return false;
    // An ETag that is no MD5 (a multipart upload's) yields to the plain
    // MD5 that the upload left in the metadata.
    const bool storeMd5 = file->md5sum().size() == 16 || !metadata.contains(account->xMetaBrindleboxETag());
    if (encrypted || metadata.contains("Content-Encoding") || !storeMd5) {
        bool ok = false;
        const qint64 length = metadata.field(account->xMetaBrindleboxContentLength()).value().toLongLong(&ok);
        *size = metadata.contains(account->xMetaBrindleboxContentLength()) && ok ? length : -1;
        *md5 = QByteArray::fromBase64(metadata.field(account->xMetaBrindleboxETag()).value());
    } else {
        *md5 = file->md5sum();
        *size = file->size();
    }
    return true;
}

void CompareFileContentForSyncOperation::md5Finished(LocalMd5AtomicOperation* md5, Side side)
{
    // A size that changed since the listing is noticed here.
    const QSharedPointer<AbstractFile> file = side == SourceSide ? m_source : m_destination;
    file.staticCast<LocalFile>()->refreshSize();
    if (m_listedObject) {
        const QSharedPointer<AbstractFile>& object = m_listedObject == SourceSide ? m_source : m_destination;
        m_listedObject = 0;
        if (md5->md5 == object.staticCast<AbstractCloudFile>()->md5sum() && file->size() == object->size())
            return;
    }
    sideKnown(side, md5->md5, file->size(), false);
}

void CompareFileContentForSyncOperation::sideKnown(Side side, const QByteArray& md5, qint64 size,
                                                   bool checkListedSize)
{
    SideState& mine = m_sides[side - 1];
    mine.md5 = md5;
    mine.size = size;
    mine.done = true;
    const QSharedPointer<AbstractFile>& other = side == SourceSide ? m_destination : m_source;
    // The listed size of a local twin settles a difference without reading it.
    if (checkListedSize && other->fileSystemClass() == AbstractFS::LocalClass && other->size() != size) {
        m_identical = false;
        return;
    }
    if (!m_sides[2 - side].done) {
        if (side == SourceSide)
            appendDestinationOp();
        else
            appendSourceOp();
        return;
    }
    compare();
}

void CompareFileContentForSyncOperation::compare()
{
    const SideState& source = m_sides[0];
    const SideState& destination = m_sides[1];
    if (source.size != destination.size || source.md5 != destination.md5)
        m_identical = false;
}
