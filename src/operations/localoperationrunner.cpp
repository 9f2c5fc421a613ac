#include "operations/localoperationrunner.h"

#include "items/driver.h"

#include <dirent.h>
#include <mntent.h>

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include "crypto/fileencoder.h"

#include "items/drive.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "operations/copylocalfiletolocalatomicoperation.h"
#include "operations/createlocalfolderatomicoperation.h"
#include "operations/deletelocalemptyfolderatomicoperation.h"
#include "operations/deletelocalfileatomicoperation.h"
#include "operations/encryptlocalfileatomicoperation.h"
#include "operations/localcontainerexistsatomicoperation.h"
#include "operations/localdrivelistatomicoperation.h"
#include "operations/localfolderlistatomicoperation.h"
#include "operations/localmd5atomicoperation.h"

LocalOperationRunner::LocalOperationRunner(AbstractLocalOperation* op, bool logEnabled,
                                           const QAtomicInt* abortFlag)
    : m_op(op), m_logEnabled(logEnabled), m_abortFlag(abortFlag)
{
}

void LocalOperationRunner::run()
{
    // Types without a local action here do nothing.
    switch (m_op->type()) {
    case AbstractOperation::CopyLocalFileToLocalAtomicType:
        copy(static_cast<CopyLocalFileToLocalAtomicOperation*>(m_op));
        break;
    case AbstractOperation::CreateLocalFolderAtomicType:
        createFolder(static_cast<CreateLocalFolderAtomicOperation*>(m_op));
        break;
    case AbstractOperation::DeleteLocalEmptyFolderAtomicType:
        deleteFolder(static_cast<DeleteLocalEmptyFolderAtomicOperation*>(m_op));
        break;
    case AbstractOperation::DeleteLocalFileAtomicType:
        deleteFile(static_cast<DeleteLocalFileAtomicOperation*>(m_op));
        break;
    case AbstractOperation::LocalDriveListAtomicType:
        driveList(static_cast<LocalDriveListAtomicOperation*>(m_op));
        break;
    case AbstractOperation::LocalFolderListAtomicType:
        folderListEntry(static_cast<LocalFolderListAtomicOperation*>(m_op));
        break;
    case AbstractOperation::LocalContainerExistsAtomicType:
        folderExists(static_cast<LocalContainerExistsAtomicOperation*>(m_op));
        break;
    case AbstractOperation::LocalMd5AtomicType:
        compteMd5CheckSum(static_cast<LocalMd5AtomicOperation*>(m_op));
        break;
    case AbstractOperation::EncryptLocalFileAtomicType:
        encryptLocalFile(static_cast<EncryptLocalFileAtomicOperation*>(m_op));
        break;
    default:
        break;
    }
}

void LocalOperationRunner::log(const QByteArray& text)
{
    if (m_logEnabled)
        m_op->addLog(text);
}

void LocalOperationRunner::fail(const QString& code, const QString& message)
{
    m_op->setError(OpError(OpError::FileError, code, message, QString()));
    log(QStringLiteral("Error : ") + m_op->error().toString(true));
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
    if (!target.commit()) {
        *reason = target.errorString();
        return false;
    }
    QFile::setPermissions(targetPath, source.permissions());
    return true;
}

} // namespace

void LocalOperationRunner::copy(CopyLocalFileToLocalAtomicOperation* op)
{
    log(QStringLiteral("Source : ") + op->source->displayPath());
    log(QStringLiteral("Destination : ") + op->destinationFolder->displayPath());
    const auto target = QSharedPointer<LocalFile>::create(op->destinationFolder, op->destinationName);
    const QString targetPath = target->path();
    QFile source(op->source->path());
    const auto failure = [&](const QString& reason) {
        fail(QString(), QStringLiteral("Operation: %1\nSource: %2\nDestination: %3\n%4")
                            .arg(op->name(), op->source->displayPath(),
                                 op->destinationFolder->displayPath(), reason));
    };
    // A folder of the target's name is cleared away first; it can only go
    // when it is empty.
    if (QDir(targetPath).exists() && !QFile(targetPath).remove()) {
        failure(source.errorString());
        return;
    }
    QString reason;
    const bool done = op->move ? source.rename(targetPath) : copyAtomically(source, targetPath, &reason);
    if (!done) {
        failure(op->move ? source.errorString() : reason);
        return;
    }
    op->destinationFile = target;
}

void LocalOperationRunner::createFolder(CreateLocalFolderAtomicOperation* op)
{
    const auto folder = QSharedPointer<LocalFolder>::create(op->parentFolder, op->folderName);
    log(QStringLiteral("Path : ") + folder->displayPath());
    if (QDir(op->parentFolder->path()).mkdir(op->folderName) || QDir(folder->path()).exists()) {
        op->folder = folder;
        return;
    }
    fail(QString(), QStringLiteral("Operation: ") + op->name() + QLatin1Char('\n') + QStringLiteral("Path: ")
                        + folder->displayPath() + QLatin1Char('\n') + tr("Failed to create folder"));
}

void LocalOperationRunner::deleteFolder(DeleteLocalEmptyFolderAtomicOperation* op)
{
    const QString path = op->folder->displayPath();
    log(QStringLiteral("Path : ") + path);
    if (QDir(QString()).rmdir(op->folder->path()))
        return;
    fail(QString(), QStringLiteral("Operation:") + op->name() + QLatin1Char('\n') + QStringLiteral("Path: ")
                        + path + QLatin1Char('\n') + tr("Failed to remove folder"));
}

void LocalOperationRunner::deleteFile(DeleteLocalFileAtomicOperation* op)
{
    const QString path = op->file->displayPath();
    log(QStringLiteral("Path : ") + path);
    QFile file(op->file->path());
    if (file.remove())
        return;
    fail(QString::number(int(file.error())), QStringLiteral("Operation:") + op->name() + QLatin1Char('\n')
                                                 + QStringLiteral("Path: ") + path + QLatin1Char('\n')
                                                 + file.errorString());
}

void LocalOperationRunner::driveList(LocalDriveListAtomicOperation* op)
{
    const QChar delimiter = Driver::localDelimiter();
    QList<QSharedPointer<Drive>> found;
    const QFileInfoList roots = QDir::drives();
    for (const QFileInfo& root : roots)
        found.append(QSharedPointer<Drive>::create(delimiter, root.absoluteFilePath(), op->myComputer));

    // Removable media and other mounts below the two usual places count as
    // drives of their own; a table that can't be read leaves just the roots.
    if (FILE* table = setmntent(op->mountTable.constData(), "r")) {
        mntent entry;
        char buffer[4096];
        while (getmntent_r(table, &entry, buffer, sizeof buffer)) {
            const QString dir = QString::fromLocal8Bit(entry.mnt_dir);
            if (!dir.startsWith(QLatin1String("/mnt/")) && !dir.startsWith(QLatin1String("/media/")))
                continue;
            auto drive = QSharedPointer<Drive>::create(delimiter, QFileInfo(dir).absoluteFilePath(),
                                                       op->myComputer);
            drive->setShortcut(true);
            found.append(drive);
        }
        endmntent(table);
    }

    QStringList taken;
    for (const QSharedPointer<Drive>& drive : std::as_const(found)) {
        const QString path = drive->path();
        if (taken.contains(path))
            continue;
        taken.append(path);
        op->drives.append(drive);
    }
}

void LocalOperationRunner::folderListEntry(LocalFolderListAtomicOperation* op)
{
    log(QStringLiteral("Path : ") + op->folder->displayPath());
    folderListEntry(op, op->folder);
}

void LocalOperationRunner::folderListEntry(LocalFolderListAtomicOperation* op,
                                           const QSharedPointer<AbstractLocalContainer>& container)
{
    const Filter filter = op->filter;
    QDir::Filters filters = QDir::NoDotAndDotDot | QDir::AllEntries;
    if (op->ignoreSymLinks)
        filters |= QDir::NoSymLinks;
    if (op->includeHidden)
        filters |= QDir::Hidden;
    if (op->includeSystem)
        filters |= QDir::System;

    // An unreadable folder gives an empty list and no error; it is reported
    // beside the lists so that a sync deletes nothing on its behalf.
    if (DIR* dir = ::opendir(QFile::encodeName(container->path()).constData()))
        ::closedir(dir);
    else
        op->unreadableFolders.append({container, qt_error_string(errno)});
    // The order is the file system's: sorting is the caller's business.
    const QFileInfoList entries = QDir(container->path()).entryInfoList(filters, QDir::NoSort);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir()) {
            const auto folder = QSharedPointer<LocalFolder>::create(container, entry.absoluteFilePath(),
                                                                    int(entry.fileName().size()));
            op->folders.append(folder);
            // Recursing at once keeps each folder's descendants right behind it.
            if (op->mode == BrindleLib::ListSubtree)
                folderListEntry(op, folder);
        } else if (entry.isFile()) {
            const QSharedPointer<AbstractFile> file = QSharedPointer<LocalFile>::create(
                container, entry.absoluteFilePath(), int(entry.fileName().size()), entry.lastModified(),
                entry.size());
            if (!filter.skip(file))
                op->files.append(file);
        }
        // Anything else, such as a link that leads nowhere, is left out.
    }
}

void LocalOperationRunner::folderExists(LocalContainerExistsAtomicOperation* op)
{
    log(QStringLiteral("Path : ") + op->folder->displayPath());
    if (QDir(op->folder->path()).exists())
        op->exists = true;
}

void LocalOperationRunner::compteMd5CheckSum(LocalMd5AtomicOperation* op)
{
    const QString path = op->file ? op->file->displayPath() : QString();
    if (op->file)
        log(QStringLiteral("Path : ") + path);
    // The file itself (no encoded form of it): a digest this run already has will do.
    const QSharedPointer<LocalFile> local = !op->device && op->file
            && op->file->fileSystemClass() == AbstractFS::LocalClass
        ? op->file.staticCast<LocalFile>()
        : QSharedPointer<LocalFile>();
    const QPair<qint64, qint64> stamp = local ? local->diskStamp() : QPair<qint64, qint64>();
    if (local && !(op->md5 = local->knownMd5()).isEmpty()) {
        logMd5(op->md5);
        return;
    }
    QCryptographicHash hash(QCryptographicHash::Md5);
    QSharedPointer<QIODevice> device = op->device;
    if (!device)
        device = QSharedPointer<QFile>::create(op->file ? op->file->path() : QString());
    if (!device->open(QIODevice::ReadOnly)) {
        fail(QString(), QStringLiteral("Operation: %1\nPath: %2\n%3").arg(op->name(), path, device->errorString()));
        return;
    }
    // One fixed buffer on the stack, handed to the hash without a copy.
    char buffer[0x4000];
    for (;;) {
        // A read error is reported like an abort.
        const qint64 read = aborted() ? -1 : device->read(buffer, sizeof buffer);
        if (read < 0) {
            fail(QString(), QStringLiteral("Operation: %1\nPath: %2\nOperation aborted").arg(op->name(), path));
            device->close();
            return;
        }
        if (read == 0)
            break;
        hash.addData(QByteArrayView(buffer, read));
    }
    device->close();
    op->md5 = hash.result();
    if (local)
        local->setKnownMd5(op->md5, stamp);
    logMd5(op->md5);
}

void LocalOperationRunner::logMd5(const QByteArray& md5)
{
    log(QStringLiteral("\nMD5 = \"%1\" (\"%2\")")
            .arg(QString::fromLatin1(md5.toHex()), QString::fromLatin1(md5.toBase64())));
}

void LocalOperationRunner::encryptLocalFile(EncryptLocalFileAtomicOperation* op)
{
    op->file->refreshSize();
    const qint64 size = op->file->size();
    // An empty file goes as it is: no gzip frame, no cipher header.
    if (size == 0)
        return;
    QFile input(op->file->path());
    QSharedPointer<QIODevice> output;
    if (size <= EncryptLocalFileAtomicOperation::_maxInMemorySize) {
        output = QSharedPointer<QBuffer>::create();
    } else {
        const auto temporary = QSharedPointer<QTemporaryFile>::create();
        // Removed with the upload's last reference to it.
        temporary->setAutoRemove(true);
        output = temporary;
    }
    const QString path = op->file->displayPath();
    const auto fail = [&](const OpError& error) {
        OpError reported = error;
        if (error.type() == OpError::FileError)
            reported = OpError(OpError::FileError, QString(),
                               QStringLiteral("Operation: %1\nPath: %2\n%3").arg(op->name(), path, error.message()),
                               QString());
        op->setError(reported);
        log(QStringLiteral("Error : ") + reported.toString(false));
    };
    if (!input.open(QIODevice::ReadOnly) || !output->open(QIODevice::WriteOnly)) {
        const QIODevice* failed = input.isOpen() ? output.data() : &input;
        fail(OpError(OpError::FileError, QString(), failed->errorString(), QString()));
        return;
    }
    logEncodingSettings(op);
    FileEncoder encoder(op->clientSideEncryption);
    const bool encoded = encoder.encode(&input, output.data());
    input.close();
    output->close();
    if (!encoded) {
        fail(encoder.error());
        return;
    }
    op->setIV(encoder.iv());
    op->encodedSize = output->size();
    op->device = output;
}

void LocalOperationRunner::logEncodingSettings(const EncryptLocalFileAtomicOperation* op)
{
    const ClientSideEncryption& settings = op->clientSideEncryption;
    if (settings.isCompressionEnabled()) {
        log(QByteArray("Compression: gzip"));
        log("Compression level: "
            + (settings.compressionLevel() != 0 ? QByteArray::number(settings.compressionLevel()) : "Default"));
    }
    if (settings.isEncryptionEnabled()) {
        log("Encryption: " + ClientSideEncryption::description(settings.algorithm()));
        log("Use random salt: " + QByteArray(settings.isSalted() ? "true" : "false"));
    }
}
