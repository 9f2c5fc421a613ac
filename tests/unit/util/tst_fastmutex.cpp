#include <QtConcurrent>
#include <QtTest>

#include "util/brindlelib.h"
#include "util/fastmutex.h"

class TestFastMutex : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void guardsCounterAcrossThreads();
    void copyGetsFreshLock();
};

// Without mutual exclusion the increments race and the sum comes out short.
void TestFastMutex::guardsCounterAcrossThreads()
{
    FastMutex mutex;
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

// A copy of a locked mutex must be usable at once: holders copy their values.
void TestFastMutex::copyGetsFreshLock()
{
    FastMutex original;
    original.lock();
    FastMutex copy(original);
    copy.lock();
    copy.unlock();
    original.unlock();
    BrindleLib::setTimeOffset(-7);
    QCOMPARE(BrindleLib::timeOffset(), -7);
    BrindleLib::setTimeOffset(0);
}

QTEST_GUILESS_MAIN(TestFastMutex)
#include "tst_fastmutex.moc"
