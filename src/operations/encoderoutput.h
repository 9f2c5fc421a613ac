#ifndef ENCODEROUTPUT_H
#define ENCODEROUTPUT_H

#include <QAtomicInteger>
#include <QByteArray>
#include <QIODevice>
#include <QSharedPointer>

#include "crypto/clientsideencryption.h"
#include "util/operror.h"

class LocalFile;

// The temporary file that an encoder fills while the parts cut from it
// already go up. The encoder, on a handler's thread, publishes how far it
// has written; the upload, on the main thread, sends each part once all of
// its bytes are there, and reads a failed part again from the file. All but
// the two counters is fixed before the encoder starts.
class EncoderOutput
{
public:
    EncoderOutput(const QSharedPointer<LocalFile>& source, const ClientSideEncryption& settings);

    // Makes the file and, with encryption, picks the salt and derives the
    // vector, which the object's metadata carries before a byte is encoded.
    // False with error() set.
    bool prepare();

    QSharedPointer<LocalFile> source() const { return m_source; }
    ClientSideEncryption settings() const { return m_settings; }
    QSharedPointer<QIODevice> file() const { return m_file; }
    QString path() const;
    qint64 plainSize() const { return m_plainSize; }
    QByteArray salt() const { return m_salt; }
    QByteArray iv() const { return m_iv; }
    OpError error() const { return m_error; }

    qint64 written() const { return m_written.loadAcquire(); }
    void setWritten(qint64 bytes) { m_written.storeRelease(bytes); }
    // Asks the encoder to stop: nothing more of its output will be sent.
    void cancel() { m_cancelled.storeRelease(1); }
    bool isCancelled() const { return m_cancelled.loadAcquire() != 0; }

private:
    const QSharedPointer<LocalFile> m_source;
    const ClientSideEncryption m_settings;
    QSharedPointer<QIODevice> m_file;
    qint64 m_plainSize = 0;
    QByteArray m_salt;
    QByteArray m_iv;
    OpError m_error;
    QAtomicInteger<qint64> m_written;
    QAtomicInt m_cancelled;
};

#endif
