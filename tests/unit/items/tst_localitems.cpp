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
    void nameSharesPathStorage_data();
    void nameSharesPathStorage();
    void fileKeepsParentChainAlive();
    void acceptCopyFrom();
};

namespace {

QSharedPointer<Drive> rootDrive()
{
    return QSharedPointer<Drive>::create(QLatin1Char('/'), QStringLiteral("/"),
                                         QSharedPointer<MyComputer>());
}

// A folder that refuses writes, as a mounted read-only medium would.
class ReadOnlyFolder : public LocalFolder
{
public:
    using LocalFolder::LocalFolder;
    bool isReadOnly() const override { return true; }
};

QSharedPointer<LocalFolder> folderUnder(const QSharedPointer<AbstractLocalContainer>& parent,
                                        const QString& name)
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

void TestLocalItems::nameSharesPathStorage_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("ascii") << "report.pdf";
    // A division slash looks like the delimiter but is a character of the name.
    QTest::newRow("delimiter look-alike") << QString::fromUtf8("a\u2215b.txt");
}

void TestLocalItems::nameSharesPathStorage()
{
    QFETCH(QString, name);
    const QString path = QStringLiteral("/data/") + name;
    const auto data = folderUnder(rootDrive(), QStringLiteral("data"));
    LocalFile file(data, path, name.size(), QDateTime::currentDateTime(), 12);
    LocalFolder folder(data, path, name.size());

    QCOMPARE(file.nameRef(), QStringView(name));
    QCOMPARE(folder.nameRef(), QStringView(name));
    // The view points into the stored path, not at a copy.
    const QString stored = file.path();
    QCOMPARE(file.nameRef().data(), stored.constData() + stored.size() - name.size());
    const QString storedFolder = folder.path();
    QCOMPARE(folder.nameRef().data(), storedFolder.constData() + storedFolder.size() - name.size());
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

void TestLocalItems::acceptCopyFrom()
{
    const auto drive = rootDrive();
    const auto target = folderUnder(drive, QStringLiteral("target"));
    const auto elsewhere = folderUnder(drive, QStringLiteral("elsewhere"));
    const QSharedPointer<AbstractItem> outsideFile =
        QSharedPointer<LocalFile>::create(elsewhere, QStringLiteral("f"));
    const QSharedPointer<AbstractItem> insideFile =
        QSharedPointer<LocalFile>::create(target, QStringLiteral("f"));
    const QSharedPointer<AbstractItem> insideFolder = folderUnder(target, QStringLiteral("sub"));

    QVERIFY(target->acceptCopyFrom(outsideFile));
    QVERIFY(target->acceptCopyFrom(elsewhere));
    QVERIFY(!target->acceptCopyFrom(QSharedPointer<AbstractItem>()));
    QVERIFY(!target->acceptCopyFrom(target));
    // A different item with the same URL counts as the same item.
    QVERIFY(!target->acceptCopyFrom(target->clone()));
    QVERIFY(!target->acceptCopyFrom(insideFile));
    QVERIFY(!target->acceptCopyFrom(insideFolder));
    QVERIFY(!target->acceptCopyFrom(drive));
    // A drive takes whatever has another URL; its own child too.
    QVERIFY(drive->acceptCopyFrom(insideFile));
    QVERIFY(!drive->acceptCopyFrom(drive->clone()));

    ReadOnlyFolder readOnly(drive, QStringLiteral("ro"));
    QVERIFY(!readOnly.acceptCopyFrom(outsideFile));
}

QTEST_GUILESS_MAIN(TestLocalItems)
#include "tst_localitems.moc"
