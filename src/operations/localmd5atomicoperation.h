#ifndef LOCALMD5ATOMICOPERATION_H
#define LOCALMD5ATOMICOPERATION_H

#include <QByteArray>
#include <QIODevice>
#include <QSharedPointer>

#include "items/abstractfile.h"
#include "operations/abstractlocaloperation.h"

// The MD5 digest of a local file, or of a device given instead, read in
// small pieces so that any size takes the same memory.
class LocalMd5AtomicOperation : public AbstractLocalOperation
{
    Q_DECLARE_TR_FUNCTIONS(LocalMd5AtomicOperation)

public:
    LocalMd5AtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& file,
                            const QSharedPointer<QIODevice>& device = QSharedPointer<QIODevice>());

    QString name() const override { return tr("MD5 checksum"); }
    // The copy reads the same device again.
    LocalMd5AtomicOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner& runner) override;

    QSharedPointer<AbstractFile> file;
    // Read instead of the file when set.
    QSharedPointer<QIODevice> device;
    // Result: the 16 raw bytes of the digest.
    QByteArray md5;
};

#endif
