#ifndef DOWNLOADFROMWSATOMICOPERATION_H
#define DOWNLOADFROMWSATOMICOPERATION_H

#include <zlib.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QSaveFile>
#include <QSharedPointer>

#include "cloud/wsobjectoperation.h"
#include "crypto/clientsideencryption.h"
#include "crypto/password.h"

class AbstractLocalContainer;
class StreamDecryptor;

// The GET of one object, its body streamed straight into the target file as
// it arrives: decrypted, inflated and hashed on the way, in pieces. The file
// is opened (and truncated) only once an accepted body has begun, so that an
// error answer leaves the target untouched.
class DownloadFromWSAtomicOperation : public WSObjectOperation
{
    Q_DECLARE_TR_FUNCTIONS(DownloadFromWSAtomicOperation)

public:
    // Output block of the inflater.
    static const int _inflateBlockSize = 524288;

    DownloadFromWSAtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file,
                                  const QSharedPointer<AbstractLocalContainer>& destinationFolder,
                                  const DecryptionPasswords& decryptionPasswords, bool computeMd5);
    ~DownloadFromWSAtomicOperation() override;

    QString name() const override { return tr("Get object"); }
    HttpRequestHeader::Method method() const override { return HttpRequestHeader::GetMethod; }
    int transferType() const override { return DownloadTransfer; }
    DownloadFromWSAtomicOperation* clone(OperationGroup* parent) const override;

    Metadata httpFieldList() const override;
    bool initializeResponseDataDevice() override;
    QIODevice* responseDataDevice() const override { return m_file.data(); }
    void dataReceived(const QByteArray& data) override;
    void requestFinished() override;

    QSharedPointer<AbstractLocalContainer> destinationFolder() const { return m_destinationFolder; }
    QString targetPath() const;
    // The MD5 of what was written, once the request is over; empty unless
    // asked for.
    QByteArray md5() const;

private:
    bool accepted() const;
    // Waits for enough bytes to trust the encoding, then sets up the inflater
    // and the decryptor. False while waiting or after a failure.
    bool decide(bool atEnd);
    bool initializeGzip();
    bool initializeDecryption();
    bool openDevice();
    bool process(const QByteArray& data);
    bool processPlain(const char* data, qint64 size);
    bool inflateAndWrite(const char* data, qint64 size);
    bool writeOut(const char* data, qint64 size);
    void startWriteback();
    bool flush();
    bool bodyComplete();
    void fail(OpError::ErrorType type, const QString& message);
    void release();

    const QSharedPointer<AbstractLocalContainer> m_destinationFolder;
    // Written beside the target and renamed over it once complete, so that
    // a cut run leaves the old file or the new one, never a part.
    QSharedPointer<QSaveFile> m_file;
    qint64 m_rangeOffset = 0;
    // What of the file the disk has been asked to write already.
    qint64 m_writebackOffset = 0;
    ClientSideEncryption m_clientSideEncryption;
    z_stream m_inflateStream;
    QByteArray m_inflated;
    QByteArray m_lookAhead;
    QSharedPointer<StreamDecryptor> m_openSsl;
    const DecryptionPasswords m_decryptionPasswords;
    QByteArray m_iv;
    bool m_deviceOpened = false;
    // Body bytes as they came off the wire, before decryption or inflation.
    qint64 m_bodyBytes = 0;
    bool m_gzipInitialized = false;
    QCryptographicHash* m_md5Hash = nullptr;
    const bool m_computeMd5;
    QByteArray m_md5;
    mutable FastMutex m_md5Mutex;
};

#endif
