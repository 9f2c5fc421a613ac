#include <QTemporaryDir>
#include <QtTest>

#include "items/drive.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"
#include "operations/localfolderlistatomicoperation.h"
#include "shellrunner.h"
#include "sync/folderexistsoperation.h"
#include "sync/listordering.h"
#include "sync/shellcreatefolderoperation.h"
#include "sync/shelldeletecontaineroperation.h"
#include "sync/shelldeletefileoperation.h"
#include "sync/shelldeletevirtualfolderoperation.h"
#include "sync/shelllistfolderoperation.h"
#include "sync/shelllistoperation.h"
#include "temptree.h"
#include "testoperations.h"

// The shell operations for listing, deleting and creating, run on a real
// shell with handler threads against a temporary tree.
class TestShellOperations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void listFolder_data();
    void listFolder();
    void listByContainerKind_data();
    void listByContainerKind();
    void folderExists_data();
    void folderExists();
    void deleteWalkStructure_data();
    void deleteWalkStructure();
    void deleteRealTreeLeavesFirst();
    void deleteFailuresLeaveFolderAndReachRoot();
    void localCreationHoldsBackNextSibling();

private:
    QString path(const QString& relative) const { return QDir::cleanPath(m_dir->filePath(relative)); }

    QScopedPointer<QTemporaryDir> m_dir;
};

namespace {

QSharedPointer<AbstractFolder> folderItem(const QString& path)
{
    return localFolderAt(path);
}

QSharedPointer<AbstractFile> fileItem(const QSharedPointer<AbstractFolder>& parent, const QString& name)
{
    return QSharedPointer<LocalFile>::create(parent.staticCast<AbstractLocalContainer>(), name);
}

// One line for a deletion tree: C container[children], V folder, F file; a *
// marks an operation that waits for all its earlier siblings.
QString describe(AbstractOperation* op)
{
    const QString wait = op->waitForPrevious() ? QStringLiteral("*") : QString();
    switch (op->type()) {
    case AbstractOperation::ShellDeleteContainerType: {
        auto* container = static_cast<ShellDeleteContainerOperation*>(op);
        QStringList children;
        for (int i = 0; i < container->operationCount(); ++i)
            children.append(describe(container->operationAt(i)));
        return wait + "C:" + container->folder->path() + "[" + children.join(' ') + "]";
    }
    case AbstractOperation::ShellDeleteVirtualFolderType:
        return wait + "V:" + static_cast<ShellDeleteVirtualFolderOperation*>(op)->folder->path();
    case AbstractOperation::ShellDeleteFileType:
        return wait + "F:" + static_cast<ShellDeleteFileOperation*>(op)->file->path();
    default:
        return wait + QString::number(op->type());
    }
}

// The path that a finished deletion removed, or a null string.
QString deletedPath(AbstractShellOperation* op)
{
    if (op->type() == AbstractOperation::ShellDeleteVirtualFolderType)
        return static_cast<ShellDeleteVirtualFolderOperation*>(op)->folder->path();
    if (op->type() == AbstractOperation::ShellDeleteFileType)
        return static_cast<ShellDeleteFileOperation*>(op)->file->path();
    return QString();
}

} // namespace

void TestShellOperations::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
}

void TestShellOperations::listFolder_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("folders");
    const QStringList tree{"r/", "r/f", "r/.h", "r/s/", "r/s/g", "r/s/t/"};
    QTest::newRow("one level") << tree << 0 << QStringList{".h", "f"} << QStringList{"s"};
    QTest::newRow("subtree") << tree << 1 << QStringList{".h", "f", "s/g"} << QStringList{"s", "s/t"};
    QTest::newRow("empty folder") << QStringList{"r/"} << 1 << QStringList() << QStringList();
}

void TestShellOperations::listFolder()
{
    QFETCH(QStringList, tree);
    QFETCH(int, mode);
    QFETCH(QStringList, files);
    QFETCH(QStringList, folders);
    QVERIFY(makeTree(m_dir->path(), tree));
    ShellListFolderOperation op(nullptr, folderItem(path("r")), BrindleLib::EntryListMode(mode),
                                BrindleLib::ListCurrentVersions, true, false, false, Filter());
    QVERIFY(runShell(&op, 2));
    QVERIFY(op.error().isNull());
    QStringList seenFiles = relativePaths(path("r"), op.files);
    QStringList seenFolders = relativePaths(path("r"), op.folders);
    seenFiles.sort();
    seenFolders.sort();
    QCOMPARE(seenFiles, files);
    QCOMPARE(seenFolders, folders);
    QVERIFY(!op.listedFolder);
    QCOMPARE(op.sourceDisplayPath(), path("r"));

    // The results were taken over, not copied: the inner listing holds none.
    auto* inner = dynamic_cast<LocalFolderListAtomicOperation*>(op.operationAt(0));
    QVERIFY(inner);
    QVERIFY(inner->files.isEmpty() && inner->folders.isEmpty());
    op.clearList();
    QVERIFY(op.files.isEmpty() && op.folders.isEmpty());
}

void TestShellOperations::listByContainerKind_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("effective");
    QTest::newRow("computer") << "computer" << true;
    QTest::newRow("drive") << "drive" << false;
    QTest::newRow("folder") << "folder" << false;
}

void TestShellOperations::listByContainerKind()
{
    QFETCH(QString, kind);
    QFETCH(bool, effective);
    QVERIFY(makeTree(m_dir->path(), {"r/", "r/f", "r/s/", "r/s/deep"}));
    QSharedPointer<AbstractContainer> container;
    if (kind == "computer")
        container = QSharedPointer<MyComputer>::create();
    else if (kind == "drive")
        container = QSharedPointer<Drive>::create(QLatin1Char('/'), path("r"), QSharedPointer<MyComputer>());
    else
        container = folderItem(path("r"));
    ShellListOperation op(nullptr, container, BrindleLib::ListCurrentVersions, false, false, false, Filter());
    QCOMPARE(op.isEffectiveOperation(), effective);
    QVERIFY(runShell(&op, 2));
    QVERIFY(op.error().isNull());
    QCOMPARE(op.operationCount(), 1);
    if (kind == "computer") {
        QVERIFY(!op.folders.isEmpty());
        QCOMPARE(op.folders.first()->path(), QStringLiteral("/"));
    } else {
        auto* list = dynamic_cast<ShellListFolderOperation*>(op.operationAt(0));
        QVERIFY(list);
        QCOMPARE(list->entryListMode, BrindleLib::ListOneLevel);
        QCOMPARE(relativePaths(path("r"), list->files), QStringList{"f"});
        QCOMPARE(relativePaths(path("r"), op.folders), QStringList{"s"});
    }
}

void TestShellOperations::folderExists_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<bool>("exists");
    QTest::newRow("there") << "r" << true;
    QTest::newRow("missing") << "nothing" << false;
}

void TestShellOperations::folderExists()
{
    QFETCH(QString, folder);
    QFETCH(bool, exists);
    QVERIFY(makeTree(m_dir->path(), {"r/"}));
    auto* check = new FolderExistsOperation(nullptr, folderItem(path(folder)));
    ListShellOperation root({check});
    QVERIFY(runShell(&root, 2));
    QVERIFY(root.error().isNull());
    QCOMPARE(check->exists, exists);
}

void TestShellOperations::deleteWalkStructure_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("expected");
    QTest::newRow("files only") << QStringList() << QStringList{"a", "c", "b"}
                                << "F:/r/c F:/r/b F:/r/a *V:/r";
    QTest::newRow("empty folders, leaves first")
        << QStringList{"x", "x/y", "x/y/z", "w"} << QStringList()
        << "V:/r/w C:/r/x[C:/r/x/y[V:/r/x/y/z *V:/r/x/y] *V:/r/x] *V:/r";
    QTest::newRow("mixed")
        << QStringList{"a", "a/x", "b", "c"} << QStringList{"f1", "f2", "a/g", "c/h", "a/x/i"}
        << "C:/r/a[C:/r/a/x[F:/r/a/x/i *V:/r/a/x] F:/r/a/g *V:/r/a] V:/r/b C:/r/c[F:/r/c/h *V:/r/c] "
           "F:/r/f2 F:/r/f1 *V:/r";
    QTest::newRow("hyphen sorts before its look-alike folder")
        << QStringList{"a", "a-b", "a/b"} << QStringList{"a-b/f", "a/f", "a-b.txt"}
        << "C:/r/a-b[F:/r/a-b/f *V:/r/a-b] C:/r/a[V:/r/a/b F:/r/a/f *V:/r/a] F:/r/a-b.txt *V:/r";
}

void TestShellOperations::deleteWalkStructure()
{
    QFETCH(QStringList, folders);
    QFETCH(QStringList, files);
    QFETCH(QString, expected);
    const auto root = folderItem(QStringLiteral("/r"));
    QHash<QString, QSharedPointer<AbstractFolder>> byPath{{QStringLiteral("/r"), root}};
    QList<QSharedPointer<AbstractFolder>> folderList;
    for (const QString& relative : std::as_const(folders)) {
        const QString full = "/r/" + relative;
        const auto parent = byPath.value(full.left(full.lastIndexOf('/')));
        const auto folder = QSharedPointer<LocalFolder>::create(parent.staticCast<AbstractLocalContainer>(),
                                                                relative.section('/', -1));
        byPath.insert(full, folder);
        folderList.append(folder);
    }
    QList<QSharedPointer<AbstractFile>> fileList;
    for (const QString& relative : std::as_const(files)) {
        const QString full = "/r/" + relative;
        fileList.append(fileItem(byPath.value(full.left(full.lastIndexOf('/'))), relative.section('/', -1)));
    }
    sortListsConcurrently(&fileList, &folderList);

    ShellDeleteContainerOperation op(nullptr, root, folderList, fileList, false);
    QVERIFY(op.listed);
    QStringList children;
    for (int i = 0; i < op.operationCount(); ++i)
        children.append(describe(op.operationAt(i)));
    QCOMPARE(children.join(' '), expected);
}

void TestShellOperations::deleteRealTreeLeavesFirst()
{
    QVERIFY(makeTree(m_dir->path(), {"r/", "r/f1", "r/.hidden", "r/a/", "r/a/g", "r/a/b/", "r/a/b/c/",
                                     "r/a/b/c/deep", "r/a-b/", "r/a-b/x", "r/e/", "r/.hd/", "r/.hd/y"}));
    ShellDeleteContainerOperation op(nullptr, folderItem(path("r")), false);
    QList<AbstractShellOperation*> finished;
    QVERIFY(runShell(&op, 4, &finished));
    QCOMPARE(op.error().toString(false), QString());
    QVERIFY(!QFileInfo::exists(path("r")));

    QStringList order;
    for (AbstractShellOperation* done : std::as_const(finished)) {
        const QString deleted = deletedPath(done);
        if (!deleted.isNull())
            order.append(deleted);
    }
    QCOMPARE(order.size(), 13);
    QCOMPARE(order.last(), path("r"));
    // Nothing is removed before everything below it.
    for (int i = 0; i < order.size(); ++i) {
        for (int j = i + 1; j < order.size(); ++j)
            QVERIFY2(!order.at(j).startsWith(order.at(i) + '/'), qPrintable(order.join('\n')));
    }
}

void TestShellOperations::deleteFailuresLeaveFolderAndReachRoot()
{
    QVERIFY(makeTree(m_dir->path(), {"r/", "r/listed", "r/intruder", "r/s/", "r/s/t"}));
    const auto root = folderItem(path("r"));
    const auto sub = QSharedPointer<LocalFolder>::create(root.staticCast<AbstractLocalContainer>(),
                                                         QStringLiteral("s"));
    // The lists miss one file and hold one that is gone: both deletions of
    // the walk run, and only the folder that still holds something stays.
    ShellDeleteContainerOperation op(nullptr, root, {sub},
                                     {fileItem(root, "listed"), fileItem(root, "vanished"), fileItem(sub, "t")},
                                     false);
    QVERIFY(runShell(&op, 3));
    QVERIFY(QFileInfo::exists(path("r/intruder")));
    QVERIFY(!QFileInfo::exists(path("r/listed")));
    QVERIFY(!QFileInfo::exists(path("r/s")));
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

void TestShellOperations::localCreationHoldsBackNextSibling()
{
    const auto parent = folderItem(m_dir->path());
    auto* create = new ShellCreateFolderOperation(nullptr, parent, QStringLiteral("new"), AclDirective(), false);
    auto* check = new FolderExistsOperation(nullptr, folderItem(path("new")));
    auto* after = new FolderExistsOperation(nullptr, folderItem(path("new")));
    QCOMPARE(create->destinationDisplayPath(), QString());
    ListShellOperation root({create, check, after});
    QVERIFY(runShell(&root, 4));
    QVERIFY(root.error().isNull());
    QCOMPARE(create->createdFolder->path(), path("new"));
    QCOMPARE(create->destinationDisplayPath(), path("new"));
    QVERIFY(check->waitForPrevious());
    QVERIFY(!after->waitForPrevious());
    QVERIFY(check->exists);
}

QTEST_GUILESS_MAIN(TestShellOperations)
#include "tst_shelloperations.moc"
