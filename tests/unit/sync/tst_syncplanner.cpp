#include <QtTest>

#include "items/abstractcloudfile.h"
#include "items/abstractwsfolder.h"
#include "items/amazons3account.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/s3bucket.h"
#include "sync/listordering.h"
#include "sync/shellplannedoperation.h"
#include "sync/shellsynccontaineroperation.h"
#include "sync/syncplanner.h"
#include "sync/syncsummary.h"
#include "temptree.h"

// The decisions of a sync, from two listed trees and the options, without
// touching a disk or a store.
class TestSyncPlanner : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void plan_data();
    void plan();
    void inputOutOfOrder_data();
    void inputOutOfOrder();
    void skipsFailTheRunAndDryRunChangesNothing();
    void bytesText_data();
    void bytesText();
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

const QStringList noEntries;

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
    QTest::newRow("every kind of action")
        << mixedSource << false << mixedDestination << none
        << QStringList{"replace bigger (size differs)", "delete gone (not in the source)", "copy new (not in the destination)",
                       "compare older (content to compare)", "compare same (content to compare)",
                       "copy both/x (not in the destination)", "delete-folder old (not in the source)",
                       "new-folder sub (not in the destination)", "copy sub/a (not in the destination)"};
    QTest::newRow("--keep-new keeps a newer destination, equal dates go on to compare")
        << QStringList{"older=1@10", "equal=1@20"} << false << QStringList{"older=1@20", "equal=1@20"}
        << int(SyncJob::KeepNew)
        << QStringList{"compare equal (content to compare)", "keep older (destination is newer, --keep-new)"};
    QTest::newRow("--dont-replace keeps twins without a comparison")
        << QStringList{"bigger=2", "same"} << false << QStringList{"bigger=1", "same"} << int(SyncJob::DontReplace)
        << QStringList{"keep bigger (--dont-replace)", "keep same (--dont-replace)"};
    QTest::newRow("--dont-add and --dont-delete")
        << mixedSource << false << mixedDestination << int(SyncJob::DontAdd | SyncJob::DontDelete)
        << QStringList{"replace bigger (size differs)", "compare older (content to compare)",
                       "compare same (content to compare)"};
    QTest::newRow("a file and a folder of one name are no twins")
        << QStringList{"x"} << false << QStringList{"x/inside"} << none
        << QStringList{"copy x (not in the destination)", "delete-folder x (not in the source)"};
    QTest::newRow("names differing in case are no twins")
        << QStringList{"Name"} << false << QStringList{"name"} << none
        << QStringList{"copy Name (not in the destination)", "delete name (not in the source)"};
    // Names that go on with a character below or above the delimiter.
    QTest::newRow("neighbour names, source has more")
        << QStringList{"x/f", "x-y/g", "x.y/h", "x 1/i", "x0/j"} << false << QStringList{"x/f", "x 1/i"} << none
        << QStringList{"compare x 1/i (content to compare)", "new-folder x-y (not in the destination)",
                       "copy x-y/g (not in the destination)", "new-folder x.y (not in the destination)",
                       "copy x.y/h (not in the destination)", "compare x/f (content to compare)",
                       "new-folder x0 (not in the destination)", "copy x0/j (not in the destination)"};
    QTest::newRow("neighbour names, destination has more")
        << QStringList{"x/f"} << false << QStringList{"x/f", "x-y/g", "x.y/", "x0/"} << none
        << QStringList{"delete-folder x-y (not in the source)", "delete-folder x.y (not in the source)",
                       "compare x/f (content to compare)", "delete-folder x0 (not in the source)"};
    QTest::newRow("bucket root: its files before folders sorting below the delimiter")
        << QStringList{".config/rc", "-old/o", "report.txt"} << true
        << QStringList{".config/rc", "-old/o", "report.txt"} << none
        << QStringList{"compare report.txt (content to compare)", "compare -old/o (content to compare)",
                       "compare .config/rc (content to compare)"};
    QTest::newRow("climbing keys are skipped, the rest is fetched")
        << QStringList{"../../escape.txt", "a/../../b", "/abs", "x/./y", "ok.txt", "..a", QString("n") + QChar(0)}
        << true << QStringList{"ok.txt"}
        << none
        << QStringList{"copy ..a (not in the destination)", "skip n" + QString(QChar(0)) + " (key would leave the destination folder)",
                       "compare ok.txt (content to compare)",
                       "skip ../../escape.txt (key would leave the destination folder)",
                       "skip /abs (key would leave the destination folder)", "new-folder a/ (not in the destination)",
                       "skip a/../../b (key would leave the destination folder)",
                       "new-folder x/ (not in the destination)", "skip x/./y (key would leave the destination folder)"};
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

// The executor: a skipped key fails the run from any depth, and a dry run
// turns every change into a line.
void TestSyncPlanner::skipsFailTheRunAndDryRunChangesNothing()
{
    const Tree from = sorted(bucketTree({"sub/../x", "sub/new", "changed"}));
    const Tree to = sorted(localTree("/d", {"changed=5", "gone"}));
    for (const bool dryRun : {false, true}) {
        SyncJob job;
        job.setOptions(dryRun ? SyncJob::Options(SyncJob::DryRun) : SyncJob::Options());
        ShellSyncContainerOperation op(nullptr, nullptr, from.root, to.root, job, from.folders, from.files, to.folders,
                                       to.files, false, nullptr, TransferSettings());
        QStringList seen;
        QList<OperationGroup*> groups{&op};
        while (!groups.isEmpty()) {
            OperationGroup* group = groups.takeFirst();
            for (int i = 0; i < group->operationCount(); ++i) {
                AbstractOperation* child = group->operationAt(i);
                if (auto* sub = dynamic_cast<ShellSyncContainerOperation*>(child))
                    groups.append(sub);
                else if (auto* planned = dynamic_cast<ShellPlannedOperation*>(child))
                    seen.append(planned->planLine().section(' ', 0, 0));
                else
                    seen.append(child->name());
            }
        }
        seen.sort();
        const QStringList expected = dryRun
            ? QStringList{"Compare", "[Copy]", "[Create", "[Delete]", "[Skip]"}
            : QStringList{"Compare", "Copy", "Create folder", "Delete", "[Skip]"};
        QCOMPARE(seen, expected);
        QVERIFY2(op.error().message().contains("Object key 'sub/../x' would leave the destination folder"),
                 qPrintable(op.error().message()));
    }
}

void TestSyncPlanner::bytesText_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << qint64(0) << "0 B";
    QTest::newRow("a kilobyte") << qint64(1000) << "1.0 kB";
    QTest::newRow("rounds up to the next unit's value") << qint64(999999) << "1000.0 kB";
    QTest::newRow("beyond terabytes stays in TB") << qint64(4200000000000000) << "4200.0 TB";
}

void TestSyncPlanner::bytesText()
{
    QFETCH(qint64, bytes);
    QFETCH(QString, text);
    QCOMPARE(SyncSummary::bytesText(bytes), text);
}

QTEST_GUILESS_MAIN(TestSyncPlanner)
#include "tst_syncplanner.moc"
