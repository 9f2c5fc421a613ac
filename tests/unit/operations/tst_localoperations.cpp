#include <sys/fsuid.h>
#include <dirent.h>
#include <unistd.h>

#include <QBuffer>
#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QtTest>

#include "items/filter.h"
#include "items/drive.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"
#include "operations/copylocalfiletolocalatomicoperation.h"
#include "operations/createlocalfolderatomicoperation.h"
#include "operations/deletelocalemptyfolderatomicoperation.h"
#include "operations/deletelocalfileatomicoperation.h"
#include "operations/encryptlocalfileatomicoperation.h"
#include "operations/localdrivelistatomicoperation.h"
#include "operations/localfolderlistatomicoperation.h"
#include "operations/localmd5atomicoperation.h"
#include "operations/localoperationrunner.h"
#include "operations/operationhandler.h"
#include "temptree.h"

// The local atomic operations on a real temporary tree.
class TestLocalOperations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void listing_data();
    void listing();
    void listingFiltersFilesOnly();
    void unreadableFolderListsEmpty();
    void driveList_data();
    void driveList();
    void createFolder_data();
    void createFolder();
    void deleteFolder_data();
    void deleteFolder();
    void deleteFile_data();
    void deleteFile();
    void copy_data();
    void copy();
    void md5_data();
    void md5();
    void md5ReadOncePerRun_data();
    void md5ReadOncePerRun();
    void md5StopsBetweenReads_data();
    void md5StopsBetweenReads();
    void handlerLogsHeaderPathAndError();
    void encodingAnUnreadableFileIsAFileError();

private:
    QString path(const QString& relative) const { return m_dir->filePath(relative); }

    QScopedPointer<QTemporaryDir> m_dir;
};

namespace {

void run(AbstractLocalOperation* op, const QAtomicInt* abortFlag = nullptr, bool log = false)
{
    LocalOperationRunner(op, log, abortFlag).run();
}

QSharedPointer<LocalFile> fileAt(const QString& path)
{
    const QFileInfo info(path);
    return QSharedPointer<LocalFile>::create(localFolderAt(info.absolutePath()), info.fileName());
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Runs the listing on the test's thread with the file system rights of an
// unprivileged user, so that a folder with mode 000 can't be read even when
// the tests run as root.
class UnprivilegedScope
{
public:
    UnprivilegedScope() : m_active(geteuid() == 0)
    {
        if (m_active) {
            setfsgid(65534);
            setfsuid(65534);
        }
    }
    ~UnprivilegedScope()
    {
        if (m_active) {
            setfsuid(0);
            setfsgid(0);
        }
    }

private:
    const bool m_active;
};

bool canOpenDir(const QString& path)
{
    DIR* dir = opendir(QFile::encodeName(path).constData());
    if (dir)
        closedir(dir);
    return dir != nullptr;
}

// A device that hands out data and, after the first read, either sets the
// abort flag or fails.
class FlakyDevice : public QIODevice
{
public:
    FlakyDevice(QAtomicInt* abortFlag, bool failRead) : m_abortFlag(abortFlag), m_failRead(failRead) {}
    int reads = 0;

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        ++reads;
        if (reads > 1 && m_failRead)
            return -1;
        if (m_abortFlag)
            m_abortFlag->storeRelease(1);
        memset(data, 'x', size_t(maxSize));
        return maxSize;
    }
    qint64 writeData(const char*, qint64) override { return -1; }
    bool isSequential() const override { return true; }

private:
    QAtomicInt* m_abortFlag;
    bool m_failRead;
};

} // namespace

void TestLocalOperations::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
}

void TestLocalOperations::listing_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("includeHidden");
    QTest::addColumn<bool>("ignoreSymLinks");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("folders");

    QTest::newRow("one level, links followed")
        << 0 << false << false << QStringList{"a.txt", "filelink"} << QStringList{"dirlink", "sub"};
    QTest::newRow("subtree, all")
        << 1 << true << false
        << QStringList{".hidden", ".hiddendir/inner", "a.txt", "dirlink/b.txt", "dirlink/deep/c.txt", "filelink",
                       "sub/b.txt", "sub/deep/c.txt"}
        << QStringList{".hiddendir", "dirlink", "dirlink/deep", "sub", "sub/deep"};
}

void TestLocalOperations::listing()
{
    QFETCH(int, mode);
    QFETCH(bool, includeHidden);
    QFETCH(bool, ignoreSymLinks);
    QFETCH(QStringList, files);
    QFETCH(QStringList, folders);
    QVERIFY(makeTree(m_dir->path(), {"a.txt", ".hidden", ".hiddendir/", ".hiddendir/inner", "sub/", "sub/b.txt",
                                     "sub/deep/", "sub/deep/c.txt", "dirlink -> sub", "filelink -> a.txt",
                                     "broken -> nowhere"}));
    const auto root = localFolderAt(m_dir->path());
    // System entries on: a broken link is one, and must still be left out.
    BrindleLib::ListEntries entries = BrindleLib::IncludeSystem;
    entries.setFlag(BrindleLib::IncludeHidden, includeHidden);
    entries.setFlag(BrindleLib::IgnoreSymLinks, ignoreSymLinks);
    LocalFolderListAtomicOperation op(nullptr, root, BrindleLib::EntryListMode(mode), entries, Filter());
    run(&op);

    QVERIFY(op.error().isNull());
    QStringList seenFiles = relativePaths(m_dir->path(), op.files);
    QStringList seenFolders = relativePaths(m_dir->path(), op.folders);
    // Each folder's descendants follow it directly, whatever the order of the file system.
    for (int i = 0; i < seenFolders.size(); ++i) {
        const QString prefix = seenFolders.at(i) + QLatin1Char('/');
        int end = i + 1;
        while (end < seenFolders.size() && seenFolders.at(end).startsWith(prefix))
            ++end;
        for (int j = end; j < seenFolders.size(); ++j)
            QVERIFY2(!seenFolders.at(j).startsWith(prefix), qPrintable(seenFolders.join(' ')));
    }
    seenFiles.sort();
    seenFolders.sort();
    QCOMPARE(seenFiles, files);
    QCOMPARE(seenFolders, folders);
}

void TestLocalOperations::listingFiltersFilesOnly()
{
    QVERIFY(makeTree(m_dir->path(), {"skip.txt", "keep.dat", "skipdir/", "skipdir/keep2.dat", "skipdir/x.txt"}));
    Filter filter;
    filter.append(QSharedPointer<FileNameFilterItem>::create(
        AbstractFilterItem::Exclude, QRegExp(QStringLiteral("*.txt"), Qt::CaseSensitive, QRegExp::Wildcard)));
    filter.append(QSharedPointer<FileNameFilterItem>::create(
        AbstractFilterItem::Exclude, QRegExp(QStringLiteral("skip*"), Qt::CaseSensitive, QRegExp::Wildcard)));
    LocalFolderListAtomicOperation op(nullptr, localFolderAt(m_dir->path()), BrindleLib::ListSubtree, {},
                                      filter);
    run(&op);
    QStringList files = relativePaths(m_dir->path(), op.files);
    files.sort();
    QCOMPARE(files, (QStringList{"keep.dat", "skipdir/keep2.dat"}));
    QCOMPARE(relativePaths(m_dir->path(), op.folders), QStringList{"skipdir"});
}

void TestLocalOperations::unreadableFolderListsEmpty()
{
    QVERIFY(makeTree(m_dir->path(), {"open/", "open/seen", "locked/", "locked/secret", "z"}));
    QVERIFY(QFile::setPermissions(m_dir->path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                                                      | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther
                                                      | QFile::ExeOther));
    QVERIFY(QFile::setPermissions(path("locked"), QFile::Permissions()));
    LocalFolderListAtomicOperation op(nullptr, localFolderAt(m_dir->path()), BrindleLib::ListSubtree,
                                      BrindleLib::IncludeHidden | BrindleLib::IncludeSystem, Filter());
    {
        UnprivilegedScope unprivileged;
        if (canOpenDir(path("locked")) || !canOpenDir(m_dir->path())) {
            QFile::setPermissions(path("locked"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            QSKIP("cannot take away the right to read a folder here (no setfsuid, or a private temp dir)");
        }
        run(&op);
    }
    QFile::setPermissions(path("locked"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QVERIFY(op.error().isNull());
    QStringList files = relativePaths(m_dir->path(), op.files);
    QStringList folders = relativePaths(m_dir->path(), op.folders);
    files.sort();
    folders.sort();
    QCOMPARE(files, (QStringList{"open/seen", "z"}));
    QCOMPARE(folders, (QStringList{"locked", "open"}));
}

void TestLocalOperations::driveList_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QStringList>("paths");
    QTest::newRow("media twice, home and proc ignored")
        << "/dev/sda1 / ext4 rw 0 0\n/dev/sdb1 /media/usb vfat rw 0 0\n/dev/sda2 /home ext4 rw 0 0\n"
           "proc /proc proc rw 0 0\n/dev/sdb1 /media/usb vfat rw 0 0\n/dev/sdc1 /mnt/disk ext4 rw 0 0\n"
        << QStringList{"/", "/media/usb", "/mnt/disk"};
    QTest::newRow("prefix is case-sensitive and needs the slash")
        << "/dev/x /Media/usb vfat rw 0 0\n/dev/y /mnt vfat rw 0 0\n/dev/z /mntx/a vfat rw 0 0\n"
        << QStringList{"/"};
}

void TestLocalOperations::driveList()
{
    QFETCH(QString, table);
    QFETCH(QStringList, paths);
    const QString tablePath = path("mtab");
    if (!table.isNull()) {
        QFile file(tablePath);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(table.toUtf8());
    }
    const auto computer = QSharedPointer<MyComputer>::create();
    LocalDriveListAtomicOperation op(nullptr, computer);
    op.mountTable = QFile::encodeName(tablePath);
    run(&op);
    QVERIFY(op.error().isNull());
    QStringList seen;
    for (const auto& folder : std::as_const(op.drives)) {
        QCOMPARE(folder->itemType(), AbstractItem::DriveItem);
        const auto drive = folder.staticCast<Drive>();
        QCOMPARE(drive->parent(), computer);
        QCOMPARE(drive->delimiter(), QLatin1Char('/'));
        QCOMPARE(drive->isShortcut(), drive->path() != QLatin1String("/"));
        seen.append(drive->path());
    }
    QCOMPARE(seen, paths);
}

void TestLocalOperations::createFolder_data()
{
    QTest::addColumn<QString>("parent");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("new") << "" << "made" << true;
    QTest::newRow("already there") << "" << "dir" << true;
    QTest::newRow("plain file in the way") << "" << "file" << false;
    QTest::newRow("parent missing") << "missing" << "made" << false;
}

void TestLocalOperations::createFolder()
{
    QFETCH(QString, parent);
    QFETCH(QString, name);
    QFETCH(bool, succeeds);
    QVERIFY(makeTree(m_dir->path(), {"dir/", "file"}));
    CreateLocalFolderAtomicOperation op(nullptr, localFolderAt(path(parent)), name, true);
    run(&op);
    const QString target = QDir::cleanPath(path(parent) + QLatin1Char('/') + name);
    if (succeeds) {
        QVERIFY(op.error().isNull());
        QVERIFY(QFileInfo(target).isDir());
        QVERIFY(op.folder);
        QCOMPARE(op.folder->path(), target);
        QCOMPARE(op.folder->name(), name);
    } else {
        QVERIFY(!op.folder);
        QCOMPARE(op.error().type(), OpError::FileError);
        QCOMPARE(op.error().code(), QString());
        QCOMPARE(op.error().message(),
                 "Operation: Create virtual folder\nPath: " + target + "\nFailed to create folder");
    }
}

void TestLocalOperations::deleteFolder_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("empty") << "empty" << true;
    QTest::newRow("not empty") << "full" << false;
    QTest::newRow("missing") << "missing" << false;
}

void TestLocalOperations::deleteFolder()
{
    QFETCH(QString, folder);
    QFETCH(bool, succeeds);
    QVERIFY(makeTree(m_dir->path(), {"empty/", "full/", "full/x"}));
    DeleteLocalEmptyFolderAtomicOperation op(nullptr, localFolderAt(path(folder)));
    run(&op);
    QCOMPARE(op.error().isNull(), succeeds);
    QCOMPARE(QFileInfo::exists(path(folder)), folder == "full");
    if (!succeeds)
        QCOMPARE(op.error().message(), "Operation:Delete empty folder\nPath: " + path(folder)
                                           + "\nFailed to remove folder");
}

void TestLocalOperations::deleteFile_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("file") << "f" << true;
    QTest::newRow("missing") << "missing" << false;
    QTest::newRow("a folder") << "dir" << false;
}

void TestLocalOperations::deleteFile()
{
    QFETCH(QString, file);
    QFETCH(bool, succeeds);
    QVERIFY(makeTree(m_dir->path(), {"f", "dir/"}));
    DeleteLocalFileAtomicOperation op(nullptr, fileAt(path(file)));
    run(&op);
    QCOMPARE(op.error().isNull(), succeeds);
    if (succeeds) {
        QVERIFY(!QFileInfo::exists(path(file)));
        return;
    }
    QCOMPARE(op.error().code(), QString::number(QFile::RemoveError));
    const QString head = "Operation:Delete file\nPath: " + path(file) + "\n";
    QVERIFY2(op.error().message().startsWith(head), qPrintable(op.error().message()));
    QVERIFY(op.error().message().size() > head.size());
}

void TestLocalOperations::copy_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("move");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("move") << "src/a" << "new" << true << true;
    QTest::newRow("copy replaces a plain file") << "src/a" << "taken" << false << true;
    QTest::newRow("move onto a plain file") << "src/a" << "taken" << true << false;
    QTest::newRow("onto a folder with content") << "src/a" << "busy" << false << false;
    QTest::newRow("source missing") << "src/none" << "new" << false << false;
}

void TestLocalOperations::copy()
{
    QFETCH(QString, source);
    QFETCH(QString, target);
    QFETCH(bool, move);
    QFETCH(bool, succeeds);
    QVERIFY(makeTree(m_dir->path(), {"src/", "src/a", "dst/", "dst/taken", "dst/busy/", "dst/busy/x"}));
    const QString targetPath = path("dst/" + target);
    const QByteArray before = readAll(targetPath);
    CopyLocalFileToLocalAtomicOperation op(nullptr, fileAt(path(source)), localFolderAt(path("dst")), move,
                                           target);
    run(&op);
    QCOMPARE(op.error().isNull(), succeeds);
    // The copy goes through a temporary file beside the target: none is left.
    QStringList entries{"busy", "taken"};
    if (succeeds && !entries.contains(target))
        entries.append(target);
    entries.sort();
    QCOMPARE(QDir(path("dst")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name), entries);
    if (succeeds) {
        QVERIFY(op.destinationFile);
        QCOMPARE(op.destinationFile->path(), targetPath);
        QCOMPARE(readAll(targetPath), QByteArray("src/a"));
        QCOMPARE(QFileInfo::exists(path(source)), !move);
        return;
    }
    QVERIFY(!op.destinationFile);
    QCOMPARE(readAll(targetPath), before);
    QVERIFY(QFileInfo::exists(path(source)) || source == "src/none");
    const QString head = "Operation: Copy file\nSource: " + path(source) + "\nDestination: " + path("dst") + "\n";
    QVERIFY2(op.error().message().startsWith(head), qPrintable(op.error().message()));
    QCOMPARE(op.error().code(), QString());
}

void TestLocalOperations::md5_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("asDevice");
    QTest::newRow("empty file") << QByteArray() << false;
    QTest::newRow("file across buffer boundaries") << QByteArray(0x4000 * 2 + 17, 'q') << false;
    QTest::newRow("device instead of a missing file") << QByteArray(50000, 'd') << true;
}

void TestLocalOperations::md5()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, asDevice);
    QSharedPointer<QIODevice> device;
    if (asDevice) {
        device = QSharedPointer<QBuffer>::create(&content);
    } else {
        QFile file(path("data"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    LocalMd5AtomicOperation op(nullptr, fileAt(path(asDevice ? "absent" : "data")), device);
    run(&op);
    QVERIFY(op.error().isNull());
    QCOMPARE(op.md5, QCryptographicHash::hash(content, QCryptographicHash::Md5));
}

void TestLocalOperations::md5ReadOncePerRun_data()
{
    QTest::addColumn<QByteArray>("rewrite");
    QTest::addColumn<bool>("keepDate");
    QTest::addColumn<bool>("asDevice");
    QTest::addColumn<bool>("reused");
    // Same size and date back: the first digest stands, which shows the file was not read again.
    QTest::newRow("unchanged on disk: not read again") << QByteArray("bbbb") << true << false << true;
    QTest::newRow("rewritten, new date: read again") << QByteArray("bbbb") << false << false << false;
    QTest::newRow("grown, same date: read again") << QByteArray("bbbbb") << true << false << false;
    QTest::newRow("an encoded form is never the file") << QByteArray("bbbb") << true << true << false;
}

void TestLocalOperations::md5ReadOncePerRun()
{
    QFETCH(QByteArray, rewrite);
    QFETCH(bool, keepDate);
    QFETCH(bool, asDevice);
    QFETCH(bool, reused);
    QFile file(path("data"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("aaaa") == 4);
    file.close();
    const QDateTime date = QDateTime::currentDateTimeUtc().addSecs(-100);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(date, QFileDevice::FileModificationTime));
    file.close();
    const QSharedPointer<LocalFile> item = fileAt(path("data"));
    LocalMd5AtomicOperation first(nullptr, item);
    run(&first);

    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(rewrite) == rewrite.size());
    file.close();
    const QDateTime newDate = keepDate ? date : date.addSecs(10);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(newDate, QFileDevice::FileModificationTime));
    file.close();
    QByteArray encoded("cc");
    LocalMd5AtomicOperation second(nullptr, item,
                                   asDevice ? QSharedPointer<QIODevice>(new QBuffer(&encoded)) : nullptr);
    run(&second);
    QVERIFY(second.error().isNull());
    const QByteArray expected = reused ? QByteArray("aaaa") : asDevice ? encoded : rewrite;
    QCOMPARE(second.md5, QCryptographicHash::hash(expected, QCryptographicHash::Md5));
}

void TestLocalOperations::md5StopsBetweenReads_data()
{
    QTest::addColumn<bool>("failRead");
    QTest::addColumn<int>("reads");
    QTest::newRow("aborted after the first read") << false << 1;
    QTest::newRow("read error") << true << 2;
}

void TestLocalOperations::md5StopsBetweenReads()
{
    QFETCH(bool, failRead);
    QFETCH(int, reads);
    QAtomicInt abortFlag;
    auto device = QSharedPointer<FlakyDevice>::create(failRead ? nullptr : &abortFlag, failRead);
    LocalMd5AtomicOperation op(nullptr, fileAt(path("f")), device);
    run(&op, &abortFlag);
    QCOMPARE(device->reads, reads);
    QVERIFY(!device->isOpen());
    QVERIFY(op.md5.isEmpty());
    QCOMPARE(op.error().message(), "Operation: MD5 checksum\nPath: " + path("f") + "\nOperation aborted");
}

void TestLocalOperations::handlerLogsHeaderPathAndError()
{
    OperationHandler handler;
    QSignalSpy finished(&handler, &OperationHandler::operationFinished);
    handler.setLogEnabled(true);
    DeleteLocalFileAtomicOperation failing(nullptr, fileAt(path("gone")));
    handler.slotExecuteLocalOperation(&failing);
    QCOMPARE(finished.size(), 1);
    QCOMPARE(QString::fromUtf8(failing.log()),
             "\n\n*** Operation: Delete file ***\n\nPath : " + path("gone") + "\nError : "
                 + failing.error().toString(true));

    LocalMd5AtomicOperation md5(nullptr, QSharedPointer<AbstractFile>(),
                                QSharedPointer<QBuffer>::create());
    handler.slotExecuteLocalOperation(&md5);
    QVERIFY(md5.log().endsWith("\n\nMD5 = \"d41d8cd98f00b204e9800998ecf8427e\" (\"1B2M2Y8AsgTpgAmY7PhCfg==\")"));

    handler.setLogEnabled(false);
    DeleteLocalFileAtomicOperation quiet(nullptr, fileAt(path("gone")));
    handler.slotExecuteLocalOperation(&quiet);
    QVERIFY(!quiet.error().isNull());
    QVERIFY(quiet.log().isEmpty());
}

void TestLocalOperations::encodingAnUnreadableFileIsAFileError()
{
    // A folder has a size but can't be opened as a file, even by root.
    QVERIFY(makeTree(m_dir->path(), {"folder/", "folder/inside"}));
    ClientSideEncryption settings;
    settings.setCompressionEnabled(true);
    EncryptLocalFileAtomicOperation op(nullptr, fileAt(path("folder")), settings);
    run(&op, nullptr, true);
    QCOMPARE(op.error().type(), OpError::FileError);
    QVERIFY2(op.error().message().startsWith("Operation: Compression\nPath: " + path("folder") + '\n'),
             qPrintable(op.error().message()));
    QVERIFY(op.log().contains("Error : "));
    QVERIFY(!op.device);
}

QTEST_GUILESS_MAIN(TestLocalOperations)
#include "tst_localoperations.moc"
