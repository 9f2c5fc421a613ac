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
    void concurrentLookups();
    void mutexGuardsAcrossThreads();
};

void TestUtil::contentTypeOfName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("extension"); // null when there is none
    QTest::addColumn<QString>("type");
    const QString binary = QStringLiteral("application/octet-stream");
    QTest::newRow("upper case") << "NOTES.TXT" << "TXT" << "text/plain";
    QTest::newRow("last dot") << "archive.tar.gz" << "gz" << "application/x-gzip";
    QTest::newRow("second rtf wins") << "letter.rtf" << "rtf" << "text/rtf";
    QTest::newRow("last key") << "firmware.bin" << "bin" << binary;
    QTest::newRow("hidden") << ".bashrc" << "bashrc" << binary;
    QTest::newRow("trailing dot") << "odd." << "" << binary;
}

void TestUtil::contentTypeOfName()
{
    QFETCH(QString, name);
    QFETCH(QString, extension);
    QFETCH(QString, type);
    const QString result = fileExtension(name);
    QCOMPARE(result, extension);
    QCOMPARE(result.isNull(), extension.isNull());
    QCOMPARE(ContentTypesManager::instance()->get(result), type);
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
    QCOMPARE(work() + a.result(), 0);
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
    work();
    a.waitForFinished();
    QCOMPARE(counter, 400000L);
}

QTEST_GUILESS_MAIN(TestUtil)
#include "tst_util.moc"
