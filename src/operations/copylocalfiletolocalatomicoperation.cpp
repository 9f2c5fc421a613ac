#include "operations/copylocalfiletolocalatomicoperation.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

#include "items/localfile.h"
#include "operations/localoperationrunner.h"
#include "util/savefilecommit.h"

CopyLocalFileToLocalAtomicOperation::CopyLocalFileToLocalAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractFile>& source,
    const QSharedPointer<AbstractLocalContainer>& destinationFolder, bool move,
    const QString& destinationName)
    : source(source), destinationFolder(destinationFolder), move(move), destinationName(destinationName)
{
    setParent(parent);
}

CopyLocalFileToLocalAtomicOperation* CopyLocalFileToLocalAtomicOperation::clone(OperationGroup* parent) const
{
    return new CopyLocalFileToLocalAtomicOperation(parent, source, destinationFolder, move, destinationName);
}

namespace {

// Copies into a temporary file beside the target, flushes it to the disk and
// renames it over the target: a run cut short leaves the old file or the
// new one, never a part of it. The permissions follow the source, as with
// QFile::copy.
bool copyAtomically(QFile& source, const QString& targetPath, QString* reason)
{
    if (!source.open(QIODevice::ReadOnly)) {
        *reason = source.errorString();
        return false;
    }
    QSaveFile target(targetPath);
    if (!target.open(QIODevice::WriteOnly)) {
        *reason = target.errorString();
        return false;
    }
    char buffer[0x10000];
    for (;;) {
        const qint64 read = source.read(buffer, sizeof(buffer));
        if (read < 0) {
            *reason = source.errorString();
            target.cancelWriting();
            return false;
        }
        if (read == 0)
            break;
        if (target.write(buffer, read) != read) {
            *reason = target.errorString();
            target.cancelWriting();
            return false;
        }
    }
    if (!commitSaveFile(target, reason))
        return false;
    QFile::setPermissions(targetPath, source.permissions());
    return true;
}

} // namespace

void CopyLocalFileToLocalAtomicOperation::run(LocalOperationRunner& runner)
{
    runner.log(QStringLiteral("Source : ") + source->displayPath());
    runner.log(QStringLiteral("Destination : ") + destinationFolder->displayPath());
    const auto target = QSharedPointer<LocalFile>::create(destinationFolder, destinationName);
    const QString targetPath = target->path();
    QFile sourceFile(source->path());
    const auto failure = [&](const QString& reason) {
        runner.fail(QString(), QStringLiteral("Operation: %1\nSource: %2\nDestination: %3\n%4")
                                   .arg(name(), source->displayPath(), destinationFolder->displayPath(), reason));
    };
    // A folder of the target's name is cleared away first; it can only go
    // when it is empty.
    if (QDir(targetPath).exists() && !QFile(targetPath).remove()) {
        failure(sourceFile.errorString());
        return;
    }
    QString reason;
    const bool done = move ? sourceFile.rename(targetPath) : copyAtomically(sourceFile, targetPath, &reason);
    if (!done) {
        failure(move ? sourceFile.errorString() : reason);
        return;
    }
    destinationFile = target;
}
