#include "crypto/fileencoder.h"

#include <zlib.h>

#include <QIODevice>

#include "crypto/zliberrorstring.h"

namespace {
// gzip framing around a 15-bit window; the largest memory level.
const int global_gzipWindowBits = 31;
const int global_memoryLevel = 9;
const QByteArray global_saltedPrefix = "Salted__";
const QString global_randFailed = QStringLiteral("OpenSSL : RAND_bytes failed");
} // namespace

FileEncoder::FileEncoder(const ClientSideEncryption& settings) : m_settings(settings) {}

bool FileEncoder::encode(QIODevice* input, QIODevice* output)
{
    m_output = output;
    const bool encrypt = m_settings.isEncryptionEnabled();
    bool done = !encrypt || startCipher();
    if (done)
        done = m_settings.isCompressionEnabled() ? deflateAll(input) : copyAll(input);
    if (done && encrypt)
        done = finishCipher();
    m_openSsl.cleanUp();
    return done;
}

bool FileEncoder::randomSalt(QByteArray* salt)
{
    salt->resize(OpenSsl::_saltLength);
    return OpenSsl::randPseudoBytes(reinterpret_cast<unsigned char*>(salt->data()), int(salt->size()));
}

bool FileEncoder::chooseSalt(const ClientSideEncryption& settings, QByteArray* salt, QByteArray* iv,
                             OpError* error)
{
    FileEncoder probe(settings);
    salt->clear();
    if (settings.isSalted() && !randomSalt(salt))
        probe.fail(OpError::EncryptionError, global_randFailed);
    else if (!probe.m_openSsl.encryptInit(settings.algorithm(), settings.password().toUtf8(), *salt))
        probe.failEncryption();
    probe.m_openSsl.cleanUp();
    *iv = probe.m_openSsl.iv();
    *error = probe.m_error;
    return error->isNull();
}

void FileEncoder::setSalt(const QByteArray& salt)
{
    m_salt = salt;
    m_saltChosen = true;
}

bool FileEncoder::startCipher()
{
    QByteArray salt = m_salt;
    if (!m_saltChosen && m_settings.isSalted() && !randomSalt(&salt))
        return fail(OpError::EncryptionError, global_randFailed);
    if (!salt.isEmpty()) {
        const QByteArray header = global_saltedPrefix + salt;
        if (!write(header.constData(), header.size()))
            return false;
    }
    if (!m_openSsl.encryptInit(m_settings.algorithm(), m_settings.password().toUtf8(), salt))
        return failEncryption();
    m_iv = m_openSsl.iv();
    return true;
}

bool FileEncoder::finishCipher()
{
    QByteArray out(2 * m_openSsl.cipherBlockSize(), Qt::Uninitialized);
    int length = 0;
    if (!m_openSsl.encryptFinal(out.data(), &length))
        return failEncryption();
    return write(out.constData(), length);
}

bool FileEncoder::deflateAll(QIODevice* input)
{
    z_stream stream = {};
    const int level = m_settings.compressionLevel() != 0 ? m_settings.compressionLevel() : Z_DEFAULT_COMPRESSION;
    int code = deflateInit2(&stream, level, Z_DEFLATED, global_gzipWindowBits, global_memoryLevel,
                            Z_DEFAULT_STRATEGY);
    if (code != Z_OK)
        return fail(OpError::CompressionError, zLibErrorString(code));
    QByteArray in(_bufferSize, Qt::Uninitialized);
    QByteArray out(_bufferSize, Qt::Uninitialized);
    bool done = true;
    int flush = Z_NO_FLUSH;
    while (done && flush != Z_FINISH) {
        const qint64 read = input->read(in.data(), _bufferSize);
        if (read < 0) {
            done = fail(OpError::FileError, input->errorString());
            break;
        }
        // The end of the file is the signal to close the gzip stream.
        flush = read == 0 ? Z_FINISH : Z_NO_FLUSH;
        stream.next_in = reinterpret_cast<Bytef*>(in.data());
        stream.avail_in = uInt(read);
        // Until deflate leaves room in the output, it has more to give.
        do {
            stream.next_out = reinterpret_cast<Bytef*>(out.data());
            stream.avail_out = uInt(_bufferSize);
            code = deflate(&stream, flush);
            if (code == Z_STREAM_ERROR) {
                done = fail(OpError::CompressionError, zLibErrorString(code));
                break;
            }
            const int produced = _bufferSize - int(stream.avail_out);
            if (produced > 0 && !passOn(out.constData(), produced)) {
                done = false;
                break;
            }
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return done;
}

bool FileEncoder::copyAll(QIODevice* input)
{
    QByteArray in(_bufferSize, Qt::Uninitialized);
    for (;;) {
        const qint64 read = input->read(in.data(), _bufferSize);
        if (read < 0)
            return fail(OpError::FileError, input->errorString());
        if (read == 0)
            return true;
        if (!passOn(in.constData(), int(read)))
            return false;
    }
}

bool FileEncoder::passOn(const char* data, int size)
{
    if (!m_settings.isEncryptionEnabled())
        return write(data, size);
    m_cipherBuffer.resize(size + m_openSsl.cipherBlockSize());
    int length = 0;
    if (!m_openSsl.encryptUpdate(m_cipherBuffer.data(), &length, data, size))
        return failEncryption();
    return write(m_cipherBuffer.constData(), length);
}

bool FileEncoder::write(const char* data, qint64 size)
{
    if (m_output->write(data, size) != size)
        return fail(OpError::FileError, m_output->errorString());
    m_written += size;
    return !m_progress || m_progress(m_written);
}

bool FileEncoder::fail(OpError::ErrorType type, const QString& message)
{
    m_error = OpError(type, QString(), message, QString());
    return false;
}
