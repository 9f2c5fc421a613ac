#ifndef ENCRYPTLOCALFILEATOMICOPERATION_H
#define ENCRYPTLOCALFILEATOMICOPERATION_H

#include <QByteArray>
#include <QIODevice>
#include <QSharedPointer>

#include "crypto/clientsideencryption.h"
#include "items/localfile.h"
#include "operations/abstractlocaloperation.h"

class EncoderOutput;

// Builds the form of a file that goes to the store: a gzip stream, the
// output of `openssl enc`, or both, in memory for small files and in a
// temporary file above that; or into an EncoderOutput whose parts go up
// while it is written.
class EncryptLocalFileAtomicOperation : public AbstractLocalOperation
{
    Q_DECLARE_TR_FUNCTIONS(EncryptLocalFileAtomicOperation)

public:
    // Files up to this size are encoded in memory.
    static const qint64 _maxInMemorySize = 0x400000;

    EncryptLocalFileAtomicOperation(OperationGroup* parent, const QSharedPointer<LocalFile>& file,
                                    const ClientSideEncryption& clientSideEncryption);
    // Writes into output, behind its salt, and tells it how far it is. Not
    // run again on failure: parts of the first run may already be stored.
    EncryptLocalFileAtomicOperation(OperationGroup* parent, const QSharedPointer<EncoderOutput>& output);

    QString name() const override;
    EncryptLocalFileAtomicOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner& runner) override;

    QByteArray iv() const { return m_iv; }
    void setIV(const QByteArray& iv) { m_iv = iv; }

    const ClientSideEncryption clientSideEncryption;
    const QSharedPointer<LocalFile> file;
    // Results: the encoded form, closed, and its size. No device for an
    // empty file, which is sent as it is.
    QSharedPointer<QIODevice> device;
    qint64 encodedSize = 0;

private:
    QSharedPointer<QIODevice> makeOutput(qint64 size) const;
    bool encode(QIODevice* output, LocalOperationRunner& runner);
    void fail(const OpError& error, LocalOperationRunner& runner);
    void logEncodingSettings(LocalOperationRunner& runner) const;
    const QSharedPointer<EncoderOutput> m_output;
    QByteArray m_iv;
};

#endif
