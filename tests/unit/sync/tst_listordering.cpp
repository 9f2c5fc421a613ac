#include <QRandomGenerator>
#include <QtTest>

#include "items/drive.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"
#include "sync/listordering.h"

class TestListOrdering : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void compareFolders_data();
    void compareFolders();
    void foldersSortWithDescendantsBehind();
    void filesSortByFolderNameThenNewest();
};

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

void TestListOrdering::compareFolders_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<int>("expected");
    // The shorter path counts as ending with its delimiter.
    QTest::newRow("hyphen below the delimiter") << "/x/a" << "/x/a-b" << int('/') - int('-');
    QTest::newRow("digit above the delimiter") << "/x/a" << "/x/a0" << int('/') - int('0');
    QTest::newRow("descendant behind its folder") << "/x/a" << "/x/a/b" << -2;
    QTest::newRow("descendant before the next sibling") << "/x/a/b" << "/x/a0" << int('/') - int('0');
    QTest::newRow("equal") << "/x/a" << "/x/a" << 0;
    QTest::newRow("trailing delimiter is longer") << "/x/a/" << "/x/a" << 1;
    QTest::newRow("key with trailing delimiter before descendant") << "a/" << "a/b" << -1;
    QTest::newRow("empty") << "" << "" << 0;
    // A bucket's root is the empty path: it comes before any folder, also
    // before those whose names sort below the delimiter.
    QTest::newRow("bucket root before .config/") << "" << ".config/" << -8;
    QTest::newRow("-old/ after the bucket root") << "-old/" << "" << 5;
}

void TestListOrdering::compareFolders()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(int, expected);
    QCOMPARE(compare(a, b), expected);
}

void TestListOrdering::foldersSortWithDescendantsBehind()
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

void TestListOrdering::filesSortByFolderNameThenNewest()
{
    const QList<QSharedPointer<AbstractFile>> expected{file("/t/B"), file("/t/a"), file("/t/v", 300), file("/t/v", 200),
        file("/t/v", 100), file("/t/z"), file("/t/a-b/z"), file("/t/a/y"), file("/t/a/b/x"), file("/t/a0/a")};
    for (int round = 0; round < 5; ++round) {
        QList<QSharedPointer<AbstractFile>> list = shuffled(expected);
        sortFilePtrList(&list);
        QCOMPARE(list, expected);
    }
}

QTEST_GUILESS_MAIN(TestListOrdering)
#include "tst_listordering.moc"
