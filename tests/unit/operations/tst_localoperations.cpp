#include <sys/fsuid.h>
#include <dirent.h>
#include <unistd.h>

#include <QBuffer>
#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QtTest>

#include "items/filter.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "operations/copylocalfiletolocalatomicoperation.h"
#include "operations/createlocalfolderatomicoperation.h"
#include "operations/deletelocalemptyfolderatomicoperation.h"
#include "operations/deletelocalfileatomicoperation.h"
#include "operations/encryptlocalfileatomicoperation.h"
#include "operations/localfolderlistatomicoperation.h"
#include "operations/localmd5atomicoperation.h"
#include "operations/localoperationrunner.h"
#include "temptree.h"

// The local atomic operations on a real temporary tree.
class TestLocalOperations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void listing_data();
    void listing();
    void unreadableFolderListsEmpty();
    void createFolder_data();
    void createFolder();
    void remove_data();
    void remove();
    void copy_data();
    void copy();
    void md5ReadOncePerRun_data();
    void md5ReadOncePerRun();
    void md5StopsBetweenReads_data();
    void md5StopsBetweenReads();
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

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The file system rights of an unprivileged user, so that a folder with mode 000
// can't be read even when the tests run as root.
struct UnprivilegedScope
{
    const bool active = geteuid() == 0;
    UnprivilegedScope() { if (active) { setfsgid(65534); setfsuid(65534); } }
    ~UnprivilegedScope() { if (active) { setfsuid(0); setfsgid(0); } }
};

bool canOpenDir(const QString& path)
{
    DIR* dir = opendir(QFile::encodeName(path).constData());
    if (dir)
        closedir(dir);
    return dir != nullptr;
}

// A device that hands out data and, after the first read, sets the abort flag
// when it has one, or else fails.
class FlakyDevice : public QIODevice
{
public:
    explicit FlakyDevice(QAtomicInt* abortFlag) : m_abortFlag(abortFlag) {}
    int reads = 0;

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        if (++reads > 1 && !m_abortFlag)
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

    QTest::newRow("one level, links followed") << 0 << false << false << QStringList{"a.txt", "filelink"} << QStringList{"dirlink", "sub"};
    QTest::newRow("subtree, all") << 1 << true << false
        << QStringList{".hidden", ".hiddendir/inner", "a.txt", "dirlink/b.txt", "dirlink/deep/c.txt", "filelink", "sub/b.txt", "sub/deep/c.txt"}
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
    QCOMPARE(sorted(seenFiles), files);
    QCOMPARE(sorted(seenFolders), folders);
}

void TestLocalOperations::unreadableFolderListsEmpty()
{
    QVERIFY(makeTree(m_dir->path(), {"open/", "open/seen", "locked/", "locked/secret", "z"}));
    QVERIFY(QFile::setPermissions(m_dir->path(), QFile::Permissions(0x7055))); // rwxr-xr-x
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
    QCOMPARE(sorted(relativePaths(m_dir->path(), op.files)), (QStringList{"open/seen", "z"}));
    QCOMPARE(sorted(relativePaths(m_dir->path(), op.folders)), (QStringList{"locked", "open"}));
}

void TestLocalOperations::createFolder_data()
{
    QTest::addColumn<QString>("parent");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("succeeds");
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
    QCOMPARE(QFileInfo(target).isDir(), succeeds);
    QCOMPARE(op.folder ? op.folder->path() : QString(), succeeds ? target : QString());
    QCOMPARE(op.error().message(), succeeds ? QString()
             : "Operation: Create virtual folder\nPath: " + target + "\nFailed to create folder");
    QCOMPARE(op.error().type(), succeeds ? OpError::NoError : OpError::FileError);
}

void TestLocalOperations::remove_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("error"); // the message starts so, %1 the path
    // Removals that succeed are every e2e run's.
    const QString folder = "Operation:Delete empty folder\nPath: %1\nFailed to remove folder";
    QTest::newRow("folder not empty") << "full/" << folder;
    QTest::newRow("folder missing") << "missing/" << folder;
    QTest::newRow("file missing") << "missing" << "Operation:Delete file\nPath: %1\n";
    QTest::newRow("file that is a folder") << "empty" << "Operation:Delete file\nPath: %1\n";
}

void TestLocalOperations::remove()
{
    QFETCH(QString, entry);
    QFETCH(QString, error);
    QVERIFY(makeTree(m_dir->path(), {"empty/", "full/", "full/x"}));
    const QString target = path(entry.endsWith('/') ? entry.chopped(1) : entry);
    DeleteLocalEmptyFolderAtomicOperation folderOp(nullptr, localFolderAt(target));
    DeleteLocalFileAtomicOperation fileOp(nullptr, fileAt(target));
    AbstractLocalOperation* op = entry.endsWith('/') ? static_cast<AbstractLocalOperation*>(&folderOp) : &fileOp;
    run(op);
    QCOMPARE(QFileInfo::exists(target), !entry.startsWith("missing"));
    const QString message = op->error().message();
    QVERIFY2(message.startsWith(error.arg(target)), qPrintable(message));
    // A file's message ends with the system's reason, and carries its code.
    if (op == &fileOp) {
        QVERIFY(message.size() > error.arg(target).size());
        QCOMPARE(op->error().code(), QString::number(QFile::RemoveError));
    }
}
// Copies and moves that succeed are every e2e run's; here those that must fail
// and leave both sides as they were.
void TestLocalOperations::copy_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("move");
    QTest::newRow("move onto a plain file") << "src/a" << "taken" << true;
    QTest::newRow("onto a folder with content") << "src/a" << "busy" << false;
    QTest::newRow("source missing") << "src/none" << "new" << false;
}

void TestLocalOperations::copy()
{
    QFETCH(QString, source);
    QFETCH(QString, target);
    QFETCH(bool, move);
    QVERIFY(makeTree(m_dir->path(), {"src/", "src/a", "dst/", "dst/taken", "dst/busy/", "dst/busy/x"}));
    const QString targetPath = path("dst/" + target);
    const QByteArray before = readAll(targetPath);
    CopyLocalFileToLocalAtomicOperation op(nullptr, fileAt(path(source)), localFolderAt(path("dst")), move, target);
    run(&op);
    // The copy goes through a temporary file beside the target: none is left.
    QCOMPARE(QDir(path("dst")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name),
             (QStringList{"busy", "taken"}));
    QCOMPARE(readAll(targetPath), before);
    QVERIFY(!op.destinationFile);
    QCOMPARE(QFileInfo::exists(path(source)), source != "src/none");
    const QString head = "Operation: Copy file\nSource: " + path(source) + "\nDestination: " + path("dst") + "\n";
    QVERIFY2(op.error().message().startsWith(head), qPrintable(op.error().message()));
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
    const auto write = [this](const QByteArray& content, const QDateTime& date) {
        QFile file(path("data"));
        return file.open(QIODevice::ReadWrite | QIODevice::Truncate) && file.write(content) == content.size() && file.flush()
               && file.setFileTime(date, QFileDevice::FileModificationTime);
    };
    const QDateTime date = QDateTime::currentDateTimeUtc().addSecs(-100);
    QVERIFY(write("aaaa", date));
    const QSharedPointer<LocalFile> item = fileAt(path("data"));
    LocalMd5AtomicOperation first(nullptr, item);
    run(&first);
    QVERIFY(write(rewrite, keepDate ? date : date.addSecs(10)));
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
    auto device = QSharedPointer<FlakyDevice>::create(failRead ? nullptr : &abortFlag);
    LocalMd5AtomicOperation op(nullptr, fileAt(path("f")), device);
    run(&op, &abortFlag);
    QCOMPARE(device->reads, reads);
    QVERIFY(!device->isOpen());
    QVERIFY(op.md5.isEmpty());
    QCOMPARE(op.error().message(), "Operation: MD5 checksum\nPath: " + path("f") + "\nOperation aborted");
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
