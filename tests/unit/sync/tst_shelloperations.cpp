#include <QTemporaryDir>
#include <QtTest>

#include "items/localfile.h"
#include "items/localfolder.h"
#include "shellrunner.h"
#include "sync/folderexistsoperation.h"
#include "sync/shellcreatefolderoperation.h"
#include "sync/shelldeletecontaineroperation.h"
#include "temptree.h"
#include "testoperations.h"

// The shell operations for listing, deleting and creating, run on a real
// shell with handler threads against a temporary tree.
class TestShellOperations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void deleteFailuresLeaveFolderAndReachRoot();
    void localCreationHoldsBackNextSibling();

private:
    QString path(const QString& relative) const { return QDir::cleanPath(m_dir->filePath(relative)); }

    QScopedPointer<QTemporaryDir> m_dir;
};

namespace {

QSharedPointer<AbstractFile> fileItem(const QSharedPointer<AbstractFolder>& parent, const QString& name)
{
    return QSharedPointer<LocalFile>::create(parent.staticCast<AbstractLocalContainer>(), name);
}

} // namespace

void TestShellOperations::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
}

void TestShellOperations::deleteFailuresLeaveFolderAndReachRoot()
{
    QVERIFY(makeTree(m_dir->path(), {"r/", "r/listed", "r/intruder", "r/s/", "r/s/t"}));
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

void TestShellOperations::localCreationHoldsBackNextSibling()
{
    const auto parent = localFolderAt(m_dir->path());
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

QTEST_GUILESS_MAIN(TestShellOperations)
#include "tst_shelloperations.moc"
