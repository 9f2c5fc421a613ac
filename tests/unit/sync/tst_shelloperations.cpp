#include <QTemporaryDir>
#include <QtTest>

#include "items/localfile.h"
#include "items/localfolder.h"
#include "shellrunner.h"
#include "sync/folderexistsoperation.h"
#include "sync/listordering.h"
#include "sync/shellcreatefolderoperation.h"
#include "sync/shelldeletecontaineroperation.h"
#include "sync/shelldeletefileoperation.h"
#include "sync/shelldeletevirtualfolderoperation.h"
#include "temptree.h"
#include "testoperations.h"

// The shell operations for listing, deleting and creating, run on a real
// shell with handler threads against a temporary tree.
class TestShellOperations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void deleteWalkStructure_data();
    void deleteWalkStructure();
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
    if (auto* container = dynamic_cast<ShellDeleteContainerOperation*>(op)) {
        QStringList children;
        for (int i = 0; i < container->operationCount(); ++i)
            children.append(describe(container->operationAt(i)));
        return wait + "C:" + container->folder->path() + "[" + children.join(' ') + "]";
    }
    if (auto* folder = dynamic_cast<ShellDeleteVirtualFolderOperation*>(op))
        return wait + "V:" + folder->folder->path();
    if (auto* file = dynamic_cast<ShellDeleteFileOperation*>(op))
        return wait + "F:" + file->file->path();
    return wait + op->name();
}

} // namespace

void TestShellOperations::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
}

void TestShellOperations::deleteWalkStructure_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("expected");
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
