#include <QtConcurrent>
#include <QtTest>

#include "util/contenttypesmanager.h"
#include "util/fastmutex.h"

class TestUtil : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void contentTypeOfName_data();
    void contentTypeOfName();
    void extensionOfName_data();
    void extensionOfName();
    void concurrentLookups();
    void mutexGuardsAcrossThreads();
};

void TestUtil::contentTypeOfName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    QTest::newRow("upper case") << "NOTES.TXT" << "text/plain";
    QTest::newRow("archive") << "archive.tar.gz" << "application/x-gzip";
    QTest::newRow("second rtf wins") << "letter.rtf" << "text/rtf";
    QTest::newRow("last key") << "firmware.bin" << "application/octet-stream";
    QTest::newRow("no dot") << "README" << "application/octet-stream";
    QTest::newRow("trailing dot") << "odd." << "application/octet-stream";
}

void TestUtil::contentTypeOfName()
{
    QFETCH(QString, name);
    QFETCH(QString, type);
    QCOMPARE(ContentTypesManager::instance()->get(fileExtension(name)), type);
}

void TestUtil::extensionOfName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("extension");
    QTest::addColumn<bool>("isNull");
    QTest::newRow("last dot") << "archive.tar.gz" << "gz" << false;
    QTest::newRow("hidden") << ".bashrc" << "bashrc" << false;
    QTest::newRow("no dot") << "Makefile" << "" << true;
    QTest::newRow("trailing dot") << "odd." << "" << false;
}

void TestUtil::extensionOfName()
{
    QFETCH(QString, name);
    QFETCH(QString, extension);
    QFETCH(bool, isNull);
    const QString result = fileExtension(name);
    QCOMPARE(result, extension);
    QCOMPARE(result.isNull(), isNull);
}

void TestUtil::concurrentLookups()
{
    auto work = [] {
        int wrong = 0;
        for (int i = 0; i < 20000; ++i) {
            if (ContentTypesManager::instance()->get(QStringLiteral("png")) != QLatin1String("image/png"))
                ++wrong;
        }
        return wrong;
    };
    QFuture<int> a = QtConcurrent::run(work);
    QFuture<int> b = QtConcurrent::run(work);
    QCOMPARE(a.result() + b.result(), 0);
}

// Without mutual exclusion the increments race and the sum comes out short.
// A copy of a locked mutex must be usable at once: holders copy their values.
void TestUtil::mutexGuardsAcrossThreads()
{
    FastMutex original;
    original.lock();
    FastMutex mutex(original);
    original.unlock();
    long counter = 0;
    auto work = [&] {
        for (int i = 0; i < 200000; ++i) {
            FastMutexLocker locker(mutex);
            ++counter;
        }
    };
    QFuture<void> a = QtConcurrent::run(work);
    QFuture<void> b = QtConcurrent::run(work);
    a.waitForFinished();
    b.waitForFinished();
    QCOMPARE(counter, 400000L);
}

QTEST_GUILESS_MAIN(TestUtil)
#include "tst_util.moc"
