#include "operations/localmd5atomicoperation.h"

#include <QCryptographicHash>
#include <QFile>

#include "items/localfile.h"
#include "operations/localoperationrunner.h"

namespace {
void logMd5(LocalOperationRunner& runner, const QByteArray& md5)
{
    runner.log(QStringLiteral("\nMD5 = \"%1\" (\"%2\")")
                   .arg(QString::fromLatin1(md5.toHex()), QString::fromLatin1(md5.toBase64())));
}
} // namespace

LocalMd5AtomicOperation::LocalMd5AtomicOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& file,
                                                 const QSharedPointer<QIODevice>& device)
    : file(file), device(device)
{
    setParent(parent);
}

LocalMd5AtomicOperation* LocalMd5AtomicOperation::clone(OperationGroup* parent) const
{
    return new LocalMd5AtomicOperation(parent, file, device);
}

void LocalMd5AtomicOperation::run(LocalOperationRunner& runner)
{
    const QString path = file ? file->displayPath() : QString();
    if (file)
        runner.log(QStringLiteral("Path : ") + path);
    // The file itself (no encoded form of it): a digest this run already has will do.
    const QSharedPointer<LocalFile> local = !device && file && file->fileSystemClass() == AbstractFS::LocalClass
        ? file.staticCast<LocalFile>()
        : QSharedPointer<LocalFile>();
    const QPair<qint64, qint64> stamp = local ? local->diskStamp() : QPair<qint64, qint64>();
    if (local && !(md5 = local->knownMd5()).isEmpty()) {
        logMd5(runner, md5);
        return;
    }
    QCryptographicHash hash(QCryptographicHash::Md5);
    QSharedPointer<QIODevice> input = device;
    if (!input)
        input = QSharedPointer<QFile>::create(file ? file->path() : QString());
    if (!input->open(QIODevice::ReadOnly)) {
        runner.fail(QString(), QStringLiteral("Operation: %1\nPath: %2\n%3").arg(name(), path, input->errorString()));
        return;
    }
    // One fixed buffer on the stack, handed to the hash without a copy.
    char buffer[0x4000];
    for (;;) {
        // A read error is reported like an abort.
        const qint64 read = runner.aborted() ? -1 : input->read(buffer, sizeof buffer);
        if (read < 0) {
            runner.fail(QString(), QStringLiteral("Operation: %1\nPath: %2\nOperation aborted").arg(name(), path));
            input->close();
            return;
        }
        if (read == 0)
            break;
        hash.addData(QByteArrayView(buffer, read));
    }
    input->close();
    md5 = hash.result();
    if (local)
        local->setKnownMd5(md5, stamp);
    logMd5(runner, md5);
}
