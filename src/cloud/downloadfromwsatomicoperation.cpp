#include "cloud/downloadfromwsatomicoperation.h"

#include <cstring>
#include <fcntl.h>

#include "crypto/streamdecryptor.h"
#include "crypto/zliberrorstring.h"
#include "items/abstractaccount.h"
#include "items/abstractcloudfile.h"
#include "items/abstractlocalcontainer.h"
#include "items/driver.h"
#include "net/httpclient.h"
#include "operations/operationhandler.h"
#include "util/savefilecommit.h"

namespace {
const char global_gzipMagic[] = {char(0x1f), char(0x8b), char(0x08)};
const QByteArray global_saltedPrefix = "Salted__";
// Bytes needed before the first decision: a salt header, a gzip magic.
const int global_cipherHeaderSize = 16;
const int global_gzipMagicSize = 3;
// Written bytes are handed to the disk in steps of this size.
const qint64 global_writebackStep = 8 * 1024 * 1024;

} // namespace

DownloadFromWSAtomicOperation::DownloadFromWSAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& file,
    const QSharedPointer<AbstractLocalContainer>& destinationFolder, const DecryptionPasswords& decryptionPasswords,
    bool computeMd5)
    : WSObjectOperation(parent, file), m_destinationFolder(destinationFolder),
      m_decryptionPasswords(decryptionPasswords), m_computeMd5(computeMd5)
{
    std::memset(&m_inflateStream, 0, sizeof(m_inflateStream));
}

DownloadFromWSAtomicOperation::~DownloadFromWSAtomicOperation()
{
    release();
    delete m_md5Hash;
}

DownloadFromWSAtomicOperation* DownloadFromWSAtomicOperation::clone(OperationGroup* parent) const
{
    return new DownloadFromWSAtomicOperation(parent, file(), m_destinationFolder, m_decryptionPasswords,
                                             m_computeMd5);
}

QString DownloadFromWSAtomicOperation::targetPath() const
{
    return AbstractLocalContainer::concatPath(Driver::localDelimiter(), m_destinationFolder->path(),
                                              file()->name());
}

QByteArray DownloadFromWSAtomicOperation::md5() const { return lockedRead(m_md5Mutex, m_md5); }

Metadata DownloadFromWSAtomicOperation::httpFieldList() const
{
    Metadata fields = WSObjectOperation::httpFieldList();
    // Nothing resumes a download today, so the range stays unused.
    if (m_rangeOffset > 0)
        fields.append(HttpField("Range", " bytes=" + QByteArray::number(m_rangeOffset) + '-'
                                             + QByteArray::number(file()->size())));
    fields.append(HttpField("Accept-Encoding", "gzip"));
    return fields;
}

bool DownloadFromWSAtomicOperation::accepted() const
{
    const int status = httpResponseHeader().statusCode();
    return status >= 200 && status <= 299;
}

bool DownloadFromWSAtomicOperation::initializeResponseDataDevice()
{
    // An error document goes to the base, to be read as XML.
    if (!accepted())
        return false;
    const HttpResponseHeader head = httpResponseHeader();
    const QByteArray encryptionKey = account()->xMetaBrindleboxEncryption();
    if (head.contains(encryptionKey)) {
        const QPair<ClientSideEncryption, QByteArray> settings =
            ClientSideEncryption::fromByteArray(head.field(encryptionKey).value());
        m_clientSideEncryption = settings.first;
        m_iv = settings.second;
    } else if (head.contentEncoding().toLower() == "gzip") {
        m_clientSideEncryption.setCompressionEnabled(true);
    }
    m_file.reset(new QSaveFile(targetPath()));
    m_writebackOffset = 0;
    return true;
}

void DownloadFromWSAtomicOperation::dataReceived(const QByteArray& data)
{
    if (!accepted() || !m_file) {
        WSObjectOperation::dataReceived(data);
        return;
    }
    if (!error().isNull() || data.isEmpty())
        return;
    m_bodyBytes += data.size();
    m_lookAhead += data;
    if (!decide(false))
        return;
    const QByteArray current = m_lookAhead;
    m_lookAhead.clear();
    if (!m_deviceOpened && !openDevice())
        return;
    process(current);
}

bool DownloadFromWSAtomicOperation::decide(bool atEnd)
{
    const bool encrypted = m_clientSideEncryption.isEncryptionEnabled();
    if (encrypted && !m_openSsl) {
        // An empty body is an empty file, whatever its head says.
        if (atEnd && m_lookAhead.isEmpty()) {
            m_clientSideEncryption.setEncryptionEnabled(false);
            return true;
        }
        if (!atEnd && m_lookAhead.size() < global_cipherHeaderSize)
            return false;
        return initializeDecryption();
    }
    // Behind a cipher the gzip frame is looked for once the bytes are plain.
    if (!encrypted && m_clientSideEncryption.isCompressionEnabled() && !m_gzipInitialized) {
        if (!atEnd && m_lookAhead.size() < global_gzipMagicSize)
            return false;
        // A gzip claim on plain bytes, from another tool, is not believed.
        if (!m_lookAhead.startsWith(QByteArray::fromRawData(global_gzipMagic, global_gzipMagicSize))) {
            m_clientSideEncryption.setCompressionEnabled(false);
            return true;
        }
        return initializeGzip();
    }
    return true;
}

bool DownloadFromWSAtomicOperation::initializeGzip()
{
    std::memset(&m_inflateStream, 0, sizeof(m_inflateStream));
    // 31: a window of 15 bits and the gzip frame.
    const int code = inflateInit2(&m_inflateStream, 31);
    if (code != Z_OK) {
        fail(OpError::CompressionError, zLibErrorString(code));
        return false;
    }
    m_inflated.resize(_inflateBlockSize);
    m_gzipInitialized = true;
    return true;
}

bool DownloadFromWSAtomicOperation::initializeDecryption()
{
    QByteArray salt;
    if (m_lookAhead.startsWith(global_saltedPrefix) && m_lookAhead.size() >= global_cipherHeaderSize) {
        salt = m_lookAhead.mid(global_saltedPrefix.size(), global_cipherHeaderSize - global_saltedPrefix.size());
        m_lookAhead.remove(0, global_cipherHeaderSize);
    }
    m_openSsl = StreamDecryptor::create();
    if (!m_openSsl) {
        fail(OpError::EncryptionError, QStringLiteral("OpenSSL : EVP_DecryptInit_ex failed"));
        return false;
    }
    if (!m_openSsl->decryptInit(m_clientSideEncryption.algorithm(), m_decryptionPasswords, m_iv, salt)) {
        fail(OpError::EncryptionError, m_openSsl->lastError());
        return false;
    }
    return true;
}

bool DownloadFromWSAtomicOperation::openDevice()
{
    if (!m_file->open(QIODevice::WriteOnly)) {
        setError(OpError(OpError::GeneralError, QString(), m_file->errorString(), QString()));
        // A folder that can't be written to stays so: no retry.
        setErrorCounter(8);
        return false;
    }
    m_deviceOpened = true;
    if (m_computeMd5 && !m_md5Hash)
        m_md5Hash = new QCryptographicHash(QCryptographicHash::Md5);
    return true;
}

bool DownloadFromWSAtomicOperation::process(const QByteArray& data)
{
    if (!m_clientSideEncryption.isEncryptionEnabled())
        return processPlain(data.constData(), data.size());
    QByteArray out(data.size() + m_openSsl->cipherBlockSize(), Qt::Uninitialized);
    int length = 0;
    if (!m_openSsl->decryptUpdate(out.data(), &length, data)) {
        fail(OpError::EncryptionError, m_openSsl->lastError());
        return false;
    }
    return processPlain(out.constData(), length);
}

// Bytes after decryption: inflated if compressed, then written.
bool DownloadFromWSAtomicOperation::processPlain(const char* data, qint64 size)
{
    if (size <= 0)
        return true;
    // Behind a cipher the metadata alone says whether the plain bytes are
    // gzip: a file that happens to begin like one is stored as it is.
    if (m_clientSideEncryption.isCompressionEnabled() && !m_gzipInitialized && !initializeGzip())
        return false;
    if (m_gzipInitialized)
        return inflateAndWrite(data, size);
    return writeOut(data, size);
}

bool DownloadFromWSAtomicOperation::inflateAndWrite(const char* data, qint64 size)
{
    m_inflateStream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
    m_inflateStream.avail_in = uInt(size);
    for (;;) {
        m_inflateStream.next_out = reinterpret_cast<Bytef*>(m_inflated.data());
        m_inflateStream.avail_out = uInt(_inflateBlockSize);
        const int code = inflate(&m_inflateStream, Z_NO_FLUSH);
        if (code == Z_NEED_DICT || code == Z_DATA_ERROR || code == Z_MEM_ERROR || code == Z_STREAM_ERROR) {
            fail(OpError::CompressionError, zLibErrorString(code));
            return false;
        }
        const qint64 produced = _inflateBlockSize - qint64(m_inflateStream.avail_out);
        if (produced > 0 && !writeOut(m_inflated.constData(), produced))
            return false;
        if (code == Z_STREAM_END) {
            if (m_inflateStream.avail_in == 0)
                return true;
            // Another gzip member follows, as in concatenated files.
            inflateReset(&m_inflateStream);
            continue;
        }
        if (code == Z_BUF_ERROR || (m_inflateStream.avail_out != 0 && m_inflateStream.avail_in == 0))
            return true;
    }
}

bool DownloadFromWSAtomicOperation::writeOut(const char* data, qint64 size)
{
    if (m_md5Hash)
        m_md5Hash->addData(QByteArrayView(data, size));
    // A short write carries no reason: the rest is tried, and the write that
    // fails outright says why (a full disk, most often).
    for (qint64 done = 0; done < size;) {
        const qint64 n = m_file->write(data + done, size - done);
        if (n <= 0) {
            fail(OpError::FileError, m_file->errorString());
            return false;
        }
        done += n;
    }
    startWriteback();
    return true;
}

// The disk starts on what has arrived while the rest comes, so that the sync
// before the rename doesn't wait for a whole big file.
void DownloadFromWSAtomicOperation::startWriteback()
{
    const qint64 written = m_file->pos();
    if (written - m_writebackOffset < global_writebackStep || !m_file->flush())
        return;
    ::sync_file_range(m_file->handle(), m_writebackOffset, written - m_writebackOffset, SYNC_FILE_RANGE_WRITE);
    m_writebackOffset = written;
}

void DownloadFromWSAtomicOperation::requestFinished()
{
    if (!accepted()) {
        WSObjectOperation::requestFinished();
        return;
    }
    if (error().isNull() && m_file && bodyComplete() && flush()) {
        QString reason;
        if (!commitSaveFile(*m_file, &reason)) {
            fail(OpError::FileError, reason);
            return;
        }
        if (m_md5Hash) {
            FastMutexLocker locker(m_md5Mutex);
            m_md5 = m_md5Hash->result();
        }
    }
    release();
}

// The client ends a body cut short by the server as a success; taken as such, a
// dead server would leave a short file that passes for the object. Failing the
// attempt the way the client fails a wrong length gets the object fetched anew.
bool DownloadFromWSAtomicOperation::bodyComplete()
{
    const HttpResponseHeader head = httpResponseHeader();
    if (!head.containsContentLength() || m_bodyBytes == head.contentLength())
        return true;
    setError(OperationHandler::networkError(this, HttpClient::WrongContentLength,
                                            QStringLiteral("Wrong content length")));
    release();
    return false;
}

// What stayed below the thresholds goes through the same decisions; even an
// empty body opens the file, so that an empty object makes an empty file.
bool DownloadFromWSAtomicOperation::flush()
{
    if (!decide(true))
        return false;
    const QByteArray rest = m_lookAhead;
    m_lookAhead.clear();
    if (!m_deviceOpened && !openDevice())
        return false;
    if (!rest.isEmpty() && !process(rest))
        return false;
    if (m_openSsl) {
        QByteArray out(2 * m_openSsl->cipherBlockSize(), Qt::Uninitialized);
        int length = 0;
        if (!m_openSsl->decryptFinal(out.data(), &length)) {
            fail(OpError::EncryptionError, m_openSsl->lastError());
            return false;
        }
        if (!processPlain(out.constData(), length))
            return false;
    }
    return true;
}

void DownloadFromWSAtomicOperation::fail(OpError::ErrorType type, const QString& message)
{
    setError(OpError(type, QString(), message, QString()));
    release();
}

void DownloadFromWSAtomicOperation::release()
{
    if (m_gzipInitialized) {
        inflateEnd(&m_inflateStream);
        m_gzipInitialized = false;
    }
    if (m_openSsl)
        m_openSsl->cleanUp();
    // Whatever was written is dropped with the temporary file, at once (its
    // space may be what the next file needs); the target stays as it was.
    if (m_file && m_file->isOpen()) {
        m_file->cancelWriting();
        m_file->commit();
    }
}
