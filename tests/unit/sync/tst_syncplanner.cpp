#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/amazons3account.h"
#include "items/drive.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"
#include "items/s3bucket.h"
#include "shellrunner.h"
#include "sync/folderexistsoperation.h"
#include "sync/listordering.h"
#include "sync/shellcreatefolderoperation.h"
#include "sync/shelldeletecontaineroperation.h"
#include "sync/syncplanner.h"
#include "temptree.h"
#include "testoperations.h"

// The decisions of a sync from two listed trees and the options, the order
// listings must come in, and the shell operations that delete and create.
class TestSyncPlanner : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void plan_data();
    void plan();
    void inputOutOfOrder_data();
    void inputOutOfOrder();
    void compareFolders_data();
    void compareFolders();
    void foldersSortWithDescendantsBehind();
    void filesSortByFolderNameThenNewest();
    void deleteFailuresLeaveFolderAndReachRoot();
    void localCreationHoldsBackNextSibling();
};

namespace {

struct Tree {
    QSharedPointer<AbstractFolder> root;
    SyncPlanner::FolderList folders;
    SyncPlanner::FileList files;
};

// Entries "d/" (a folder), "f", "f=size" or "f=size@seconds" (a file);
// the folders on the way to an entry are made too, as a listing makes them.
QStringList withFolders(const QStringList& entries)
{
    QStringList all;
    for (const QString& entry : entries) {
        const QString path = entry.section('=', 0, 0);
        for (qsizetype at = path.indexOf('/'); at >= 0 && at < path.size() - 1; at = path.indexOf('/', at + 1))
            if (!all.contains(path.left(at + 1)))
                all.append(path.left(at + 1));
        if (!all.contains(entry))
            all.append(entry);
    }
    return all;
}

// A local tree below `root`; nothing touches the disk.
Tree localTree(const QString& root, const QStringList& entries)
{
    Tree tree{localFolderAt(root), {}, {}};
    QHash<QString, QSharedPointer<AbstractLocalContainer>> byPath{{QString(), tree.root.staticCast<LocalFolder>()}};
    for (const QString& entry : withFolders(entries)) {
        const bool isFolder = entry.endsWith('/');
        const QString relative = entry.section('=', 0, 0).chopped(isFolder ? 1 : 0);
        const QString parentPath = relative.section('/', 0, -2);
        const int nameLength = int(relative.size() - parentPath.size() - (parentPath.isEmpty() ? 0 : 1));
        if (isFolder) {
            const auto folder = QSharedPointer<LocalFolder>::create(byPath.value(parentPath), root + '/' + relative,
                                                                    nameLength);
            byPath.insert(relative, folder);
            tree.folders.append(folder);
            continue;
        }
        const QString size = entry.section('=', 1).section('@', 0, 0);
        const QDateTime modified = QDateTime::fromSecsSinceEpoch(entry.section('@', 1).toLongLong(), Qt::UTC);
        tree.files.append(QSharedPointer<LocalFile>::create(byPath.value(parentPath), root + '/' + relative,
                                                            nameLength, modified, size.isEmpty() ? 1 : size.toLongLong()));
    }
    return tree;
}

// A bucket's tree from object keys, folders made from the keys' segments.
Tree bucketTree(const QStringList& keys)
{
    const auto account = Driver::createAccount(AbstractAccount::AmazonS3Provider, Id());
    const auto bucket = QSharedPointer<S3Bucket>::create(QLatin1Char('/'), QStringLiteral("b"), QDateTime(),
                                                         account.staticCast<AmazonS3Account>());
    Tree tree{bucket, {}, {}};
    QHash<QString, QSharedPointer<AbstractS3Folder>> byPath{{QString(), bucket}};
    for (const QString& key : withFolders(keys)) {
        const QString parentPath = key.left(key.lastIndexOf('/', key.endsWith('/') ? -2 : -1) + 1);
        if (key.endsWith('/')) {
            const auto folder = Driver::createFolder(key, byPath.value(parentPath), QByteArray(), false);
            byPath.insert(key, folder);
            tree.folders.append(folder);
        } else {
            tree.files.append(Driver::createFile(key, 1, QDateTime(), QByteArray(), byPath.value(parentPath), true,
                                                 QByteArray(), {}, StorageDirective::StandardStorage));
        }
    }
    return tree;
}

Tree sorted(Tree tree)
{
    sortListsConcurrently(&tree.files, &tree.folders);
    return tree;
}

QString relative(const QString& path, const QStringList& roots)
{
    for (const QString& root : roots)
        if (path.startsWith(root))
            return path.mid(root.size());
    return path;
}

// Plans a folder pair and, as the executor does, the pairs below it: one
// line per decision, "kind path (reason)".
bool planTree(const SyncPlanner& planner, const QSharedPointer<AbstractFolder>& source,
              const QSharedPointer<AbstractFolder>& destination, SyncPlanner::Listings listings,
              const QStringList& roots, QStringList* lines, QString* error)
{
    static const char* const kinds[] = {"copy",        "replace",    "compare",       "keep", "same",
                                        "delete",      "sync-folder", "new-folder", "delete-folder", "skip"};
    QVector<SyncAction> actions;
    if (!planner.planFolder(source, destination, listings, &actions, error))
        return false;
    for (const SyncAction& action : std::as_const(actions)) {
        const QString path = action.file ? action.file->path() : action.folder->path();
        const QString reason = SyncAction::reasonText(action.reason);
        if (action.kind != SyncAction::SyncFolder)
            lines->append(QString::fromLatin1(kinds[action.kind]) + ' ' + relative(path, roots)
                          + (reason.isEmpty() ? QString() : " (" + reason + ')'));
        if (action.kind != SyncAction::SyncFolder && action.kind != SyncAction::NewFolder)
            continue;
        const auto twin = action.twinFolder ? action.twinFolder
                                            : Driver::createChildFolder(destination, action.folder->name());
        if (!planTree(planner, action.folder, twin,
                      {action.folders, action.twinFolders, action.files, action.twinFiles}, roots, lines, error))
            return false;
    }
    return true;
}

} // namespace

void TestSyncPlanner::plan_data()
{
    QTest::addColumn<QStringList>("source"); // object keys when sourceIsBucket
    QTest::addColumn<bool>("sourceIsBucket");
    QTest::addColumn<QStringList>("destination"); // local, below /d
    QTest::addColumn<int>("options");
    QTest::addColumn<QStringList>("expected"); // in plan order

    const int none = 0;
    const QStringList mixedSource{"new", "same", "bigger=2", "older=1@10", "sub/a", "both/", "both/x"};
    const QStringList mixedDestination{"gone", "same", "bigger=1", "older=1@20", "old/x", "old/y/z", "both/"};
    QTest::newRow("every kind of action") << mixedSource << false << mixedDestination << none
        << QStringList{"replace bigger (size differs)", "delete gone (not in the source)", "copy new (not in the destination)",
                       "compare older (content to compare)", "compare same (content to compare)", "copy both/x (not in the destination)",
                       "delete-folder old (not in the source)", "new-folder sub (not in the destination)", "copy sub/a (not in the destination)"};
    QTest::newRow("--dont-replace keeps twins without a comparison")
        << QStringList{"bigger=2", "same"} << false << QStringList{"bigger=1", "same"} << int(SyncJob::DontReplace)
        << QStringList{"keep bigger (--dont-replace)", "keep same (--dont-replace)"};
    QTest::newRow("a file and a folder of one name are no twins")
        << QStringList{"x"} << false << QStringList{"x/inside"} << none
        << QStringList{"copy x (not in the destination)", "delete-folder x (not in the source)"};
    QTest::newRow("names differing in case are no twins") << QStringList{"Name"} << false << QStringList{"name"} << none
        << QStringList{"copy Name (not in the destination)", "delete name (not in the source)"};
    // Names that go on with a character below or above the delimiter.
    QTest::newRow("neighbour names")
        << QStringList{"x/f"} << false << QStringList{"x/f", "x-y/g", "x.y/", "x0/"} << none
        << QStringList{"delete-folder x-y (not in the source)", "delete-folder x.y (not in the source)", "compare x/f (content to compare)", "delete-folder x0 (not in the source)"};
    QTest::newRow("bucket root: its files before folders sorting below the delimiter")
        << QStringList{".config/rc", "-old/o", "report.txt"} << true << QStringList{".config/rc", "-old/o", "report.txt"} << none
        << QStringList{"compare report.txt (content to compare)", "compare -old/o (content to compare)", "compare .config/rc (content to compare)"};
    const QString leaves = " (key would leave the destination folder)";
    QTest::newRow("climbing keys are skipped, the rest is fetched")
        << QStringList{"../../escape.txt", "a/../../b", "/abs", "x/./y", "ok.txt", "..a", QString("n") + QChar(0)} << true << QStringList{"ok.txt"} << none
        << QStringList{"copy ..a (not in the destination)", "skip n" + QString(QChar(0)) + leaves, "compare ok.txt (content to compare)",
                       "skip ../../escape.txt" + leaves, "skip /abs" + leaves, "new-folder a/ (not in the destination)",
                       "skip a/../../b" + leaves, "new-folder x/ (not in the destination)", "skip x/./y" + leaves};
}

void TestSyncPlanner::plan()
{
    QFETCH(QStringList, source);
    QFETCH(bool, sourceIsBucket);
    QFETCH(QStringList, destination);
    QFETCH(int, options);
    QFETCH(QStringList, expected);
    const Tree from = sorted(sourceIsBucket ? bucketTree(source) : localTree("/s", source));
    const Tree to = sorted(localTree("/d", destination));
    const SyncPlanner planner(SyncJob::Options(options), sourceIsBucket);
    QStringList lines;
    QString error;
    QVERIFY(planTree(planner, from.root, to.root, {from.folders, to.folders, from.files, to.files}, {"/s/", "/d/"},
                     &lines, &error));
    QCOMPARE(lines, expected);
}

void TestSyncPlanner::inputOutOfOrder_data()
{
    QTest::addColumn<QStringList>("source");
    QTest::addColumn<bool>("sortFolders");
    QTest::addColumn<bool>("sortFiles");
    QTest::newRow("folders") << QStringList{"b/", "a/"} << false << true;
    QTest::newRow("files of one folder") << QStringList{"b", "a"} << true << false;
}

// Unsorted input would make twins look alone and be deleted: refused.
void TestSyncPlanner::inputOutOfOrder()
{
    QFETCH(QStringList, source);
    QFETCH(bool, sortFolders);
    QFETCH(bool, sortFiles);
    Tree from = localTree("/s", source);
    if (sortFolders)
        sortFolderPtrList(&from.folders);
    if (sortFiles)
        sortFilePtrList(&from.files);
    const Tree to = sorted(localTree("/d", source));
    SyncPlanner::Listings listings{from.folders, to.folders, from.files, to.files};
    QVector<SyncAction> actions;
    QString error;
    QVERIFY(!SyncPlanner(SyncJob::Options(), false).planFolder(from.root, to.root, listings, &actions, &error));
    QVERIFY(actions.isEmpty());
    QVERIFY2(error.startsWith("Listing out of order: '/s/a' after '/s/b'"), qPrintable(error));
}

namespace {

QSharedPointer<Drive> drive()
{
    static const auto root = QSharedPointer<Drive>::create(QLatin1Char('/'), QStringLiteral("/"),
                                                           QSharedPointer<MyComputer>());
    return root;
}

QSharedPointer<AbstractFolder> folder(const QString& path)
{
    if (path == QLatin1String("/"))
        return drive();
    return QSharedPointer<LocalFolder>::create(drive(), path, int(path.size() - path.lastIndexOf('/') - 1));
}

QSharedPointer<AbstractFile> file(const QString& path, qint64 secs = 0)
{
    const int slash = int(path.lastIndexOf('/'));
    const auto parent = folder(slash == 0 ? QStringLiteral("/") : path.left(slash));
    return QSharedPointer<LocalFile>::create(parent.staticCast<AbstractLocalContainer>(), path,
                                             int(path.size() - slash - 1),
                                             QDateTime::fromSecsSinceEpoch(secs, Qt::UTC), 0);
}

int compare(const QString& a, const QString& b)
{
    const QChar delimiter = QLatin1Char('/');
    return compareFolders(a.constData(), int(a.size()), &delimiter, b.constData(), int(b.size()), &delimiter);
}

template<typename T>
QList<T> shuffled(QList<T> list)
{
    std::shuffle(list.begin(), list.end(), *QRandomGenerator::global());
    return list;
}

} // namespace

void TestSyncPlanner::compareFolders_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<int>("expected");
    // The shorter path counts as ending with its delimiter.
    QTest::newRow("hyphen below the delimiter") << "/x/a" << "/x/a-b" << int('/') - int('-');
    QTest::newRow("digit above the delimiter") << "/x/a" << "/x/a0" << int('/') - int('0');
    QTest::newRow("descendant behind its folder") << "/x/a" << "/x/a/b" << -2;
    QTest::newRow("descendant before the next sibling") << "/x/a/b" << "/x/a0" << int('/') - int('0');
    QTest::newRow("trailing delimiter is longer") << "/x/a/" << "/x/a" << 1;
    QTest::newRow("key with trailing delimiter before descendant") << "a/" << "a/b" << -1;
    // A bucket's root is the empty path: it comes before any folder, also
    // before those whose names sort below the delimiter.
    QTest::newRow("bucket root before .config/") << "" << ".config/" << -8;
    QTest::newRow("-old/ after the bucket root") << "-old/" << "" << 5;
}

void TestSyncPlanner::compareFolders()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(int, expected);
    QCOMPARE(compare(a, b), expected);
}

void TestSyncPlanner::foldersSortWithDescendantsBehind()
{
    const QStringList expected{"/t/a-b", "/t/a", "/t/a/b-c", "/t/a/b", "/t/a/b/c", "/t/a/b0", "/t/a/c", "/t/a0", "/t/b"};
    QList<QSharedPointer<AbstractFolder>> folders;
    for (const QString& path : expected)
        folders.append(folder(path));
    for (int round = 0; round < 5; ++round) {
        QList<QSharedPointer<AbstractFolder>> list = shuffled(folders);
        sortFolderPtrList(&list);
        QCOMPARE(list, folders);
    }
}

void TestSyncPlanner::filesSortByFolderNameThenNewest()
{
    const QList<QSharedPointer<AbstractFile>> expected{file("/t/B"), file("/t/a"), file("/t/v", 300), file("/t/v", 200),
        file("/t/v", 100), file("/t/z"), file("/t/a-b/z"), file("/t/a/y"), file("/t/a/b/x"), file("/t/a0/a")};
    for (int round = 0; round < 5; ++round) {
        QList<QSharedPointer<AbstractFile>> list = shuffled(expected);
        sortFilePtrList(&list);
        QCOMPARE(list, expected);
    }
}

// The shell operations for listing, deleting and creating, run on a real
// shell with handler threads against a temporary tree.

namespace {

QSharedPointer<AbstractFile> fileItem(const QSharedPointer<AbstractFolder>& parent, const QString& name)
{
    return QSharedPointer<LocalFile>::create(parent.staticCast<AbstractLocalContainer>(), name);
}

// A fresh temporary folder, and the clean path of an entry below it.
struct TempDir : QTemporaryDir
{
    QString entry(const QString& relative) const { return QDir::cleanPath(filePath(relative)); }
};

} // namespace

void TestSyncPlanner::deleteFailuresLeaveFolderAndReachRoot()
{
    const TempDir dir;
    const auto path = [&](const QString& relative) { return dir.entry(relative); };
    QVERIFY(makeTree(dir.path(), {"r/", "r/listed", "r/intruder", "r/s/", "r/s/t"}));
    const auto root = localFolderAt(path("r"));
    const auto sub = QSharedPointer<LocalFolder>::create(root, QStringLiteral("s"));
    // The lists miss one file and hold one that is gone: both deletions of
    // the walk run, and only the folder that still holds something stays.
    ShellDeleteContainerOperation op(nullptr, root, {sub}, {fileItem(root, "listed"), fileItem(root, "vanished"), fileItem(sub, "t")}, false);
    QVERIFY(runShell(&op, 3));
    QVERIFY(QFileInfo::exists(path("r/intruder")) && !QFileInfo::exists(path("r/listed")) && !QFileInfo::exists(path("r/s")));
    QStringList messages;
    for (const OpError& error : op.errors()) {
        // The file's message ends with the system's own words.
        const QString message = error.message();
        messages.append(message.startsWith("Operation:Delete file") ? message.section('\n', 0, 1) : message);
    }
    messages.sort();
    QCOMPARE(messages, (QStringList{"Operation:Delete empty folder\nPath: " + path("r") + "\nFailed to remove folder",
                                    "Operation:Delete file\nPath: " + path("r/vanished")}));
}

void TestSyncPlanner::localCreationHoldsBackNextSibling()
{
    const TempDir dir;
    const auto path = [&](const QString& relative) { return dir.entry(relative); };
    const auto parent = localFolderAt(dir.path());
    auto* create = new ShellCreateFolderOperation(nullptr, parent, QStringLiteral("new"), AclDirective(), false);
    auto* check = new FolderExistsOperation(nullptr, localFolderAt(path("new")));
    auto* after = new FolderExistsOperation(nullptr, localFolderAt(path("new")));
    QCOMPARE(create->destinationDisplayPath(), QString());
    ListShellOperation root({create, check, after});
    QVERIFY(runShell(&root, 4));
    QVERIFY(root.error().isNull());
    QCOMPARE(create->destinationDisplayPath(), path("new"));
    // The next sibling waits for the folder; the one after it need not.
    QVERIFY(check->waitForPrevious() && !after->waitForPrevious() && check->exists);
}

QTEST_GUILESS_MAIN(TestSyncPlanner)
#include "tst_syncplanner.moc"
