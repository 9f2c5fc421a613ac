#include "cloud/downloadoperation.h"

#include <QFile>
#include <QFileInfo>

#include "cloud/downloadfromwsatomicoperation.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstractlocalcontainer.h"
#include "items/localfile.h"

DownloadOperation::DownloadOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& source,
                                     const QSharedPointer<AbstractLocalContainer>& destinationFolder,
                                     const DecryptionPasswords& decryptionPasswords, bool computeMd5)
    : OperationGroup(parent), m_source(source), m_destinationFolder(destinationFolder),
      m_decryptionPasswords(decryptionPasswords), m_computeMd5(computeMd5)
{
}

void DownloadOperation::prepareFirstOperation()
{
    appendThen(new DownloadFromWSAtomicOperation(this, m_source, m_destinationFolder, m_decryptionPasswords,
                                                 m_computeMd5),
               [this](DownloadFromWSAtomicOperation* get) { takeAnswer(get); });
}

QByteArray DownloadOperation::expectedMd5(const HttpResponseHeader& head, const QByteArray& etagMetadataKey)
{
    if (head.contains(etagMetadataKey))
        return QByteArray::fromBase64(head.field(etagMetadataKey).value());
    QByteArray etag = head.field("ETag").value();
    if (etag.startsWith('"'))
        etag.remove(0, 1);
    if (etag.endsWith('"'))
        etag.chop(1);
    // Another tool's multipart ETag ("<hex>-<parts>") is no MD5: nothing to check against.
    const QByteArray md5 = QByteArray::fromHex(etag);
    return md5.size() == 16 && etag.size() == 32 ? md5 : QByteArray();
}

void DownloadOperation::takeAnswer(DownloadFromWSAtomicOperation* get)
{
    const QByteArray written = get->md5();
    {
        FastMutexLocker locker(m_resultMutex);
        m_downloadedMd5 = written;
    }
    const HttpResponseHeader head = get->httpResponseHeader();
    if (head.statusCode() != 200 || !get->error().isNull())
        return;
    const QByteArray expected = expectedMd5(head, m_source->account()->xMetaBrindleboxETag());
    const QString path = get->targetPath();
    const QFileInfo info(path);
    if (!info.exists()) {
        setError(OpError(OpError::GeneralError, QString(), tr("Unknown Error"), QString()));
        return;
    }
    // The file keeps the time of its writing: no date comes from the store.
    QSharedPointer<LocalFile> file(new LocalFile(m_destinationFolder, path, int(info.fileName().size()),
                                                 info.lastModified(), info.size()));
    FastMutexLocker locker(m_resultMutex);
    m_sourceMd5 = expected;
    m_downloadedFile = file;
}

QSharedPointer<LocalFile> DownloadOperation::downloadedFile() const { return lockedRead(m_resultMutex, m_downloadedFile); }
QByteArray DownloadOperation::sourceMd5() const { return lockedRead(m_resultMutex, m_sourceMd5); }
QByteArray DownloadOperation::downloadedMd5() const { return lockedRead(m_resultMutex, m_downloadedMd5); }
