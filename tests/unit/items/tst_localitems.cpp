#include <QTemporaryDir>
#include <QtTest>

#include "items/drive.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"

class TestLocalItems : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void concatPath_data();
    void concatPath();
    void fileKeepsParentChainAlive();
};

namespace {

QSharedPointer<Drive> rootDrive()
{
    return QSharedPointer<Drive>::create(QLatin1Char('/'), QStringLiteral("/"), QSharedPointer<MyComputer>());
}

QSharedPointer<LocalFolder> folderUnder(const QSharedPointer<AbstractLocalContainer>& parent, const QString& name)
{
    return QSharedPointer<LocalFolder>::create(parent, name);
}

} // namespace

void TestLocalItems::concatPath_data()
{
    QTest::addColumn<QChar>("delimiter");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("joined");
    QTest::newRow("root") << QChar('/') << "/" << "a" << "/a";
    QTest::newRow("trailing delimiter") << QChar('/') << "/home/" << "a" << "/home/a";
    QTest::newRow("foreign trailing") << QChar('\\') << "/x/" << "a" << "/x/\\a";
    QTest::newRow("empty path") << QChar('/') << "" << "a" << "/a";
}

void TestLocalItems::concatPath()
{
    QFETCH(QChar, delimiter);
    QFETCH(QString, path);
    QFETCH(QString, name);
    QFETCH(QString, joined);
    QCOMPARE(AbstractLocalContainer::concatPath(delimiter, path, name), joined);
}

void TestLocalItems::fileKeepsParentChainAlive()
{
    QWeakPointer<Drive> weakDrive;
    QWeakPointer<LocalFolder> weakFolder;
    QSharedPointer<LocalFile> file;
    {
        const auto drive = rootDrive();
        const auto folder = folderUnder(folderUnder(drive, QStringLiteral("a")), QStringLiteral("b"));
        weakDrive = drive;
        weakFolder = folder;
        file = QSharedPointer<LocalFile>::create(folder, QStringLiteral("c"));
    }
    QVERIFY(!weakFolder.isNull());
    QVERIFY(!weakDrive.isNull());
    QCOMPARE(file->parent()->path(), QStringLiteral("/a/b"));

    // A clone shares the parent, and keeps the chain alive on its own.
    QSharedPointer<AbstractItem> copy = file->clone();
    QCOMPARE(copy.staticCast<LocalFile>()->parent(), file->parent());
    file.reset();
    QVERIFY(!weakDrive.isNull());
    copy.reset();
    QVERIFY(weakFolder.isNull());
    QVERIFY(weakDrive.isNull());
}

QTEST_GUILESS_MAIN(TestLocalItems)
#include "tst_localitems.moc"
