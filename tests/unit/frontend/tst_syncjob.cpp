#include <QtTest>

#include "frontend/getfilter.h"
#include "frontend/syncjob.h"

class TestSyncJob : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void nullJobReadsDefaults();
    void firstSetterCreatesJob();
    void copiesShareIdAndDetach();
    void commandLineDefaults();
};

void TestSyncJob::nullJobReadsDefaults()
{
    const SyncJob job;
    QVERIFY(job.isNull());
    QCOMPARE(int(job.options()), 0);
    QCOMPARE(job.maximumKeepVersions(), 10);
    QCOMPARE(job.maximumKeepTime(), 180);
    QVERIFY(job.filter().isEmpty());
    QVERIFY(job.id().isEmpty());
}

void TestSyncJob::firstSetterCreatesJob()
{
    SyncJob job;
    job.setOptions(SyncJob::DontDelete | SyncJob::KeepNew);
    QVERIFY(!job.isNull());
    QCOMPARE(int(job.options()), 0x0003);
    QCOMPARE(job.maximumKeepVersions(), 10);
    QCOMPARE(job.maximumKeepTime(), 180);
    QVERIFY(!QUuid::fromString(job.id()).isNull());
}

void TestSyncJob::copiesShareIdAndDetach()
{
    SyncJob job;
    job.setName(QStringLiteral("nightly"));
    Filter filter;
    filter.append(getFilter(QStringLiteral("--exclude-filename"), QStringLiteral("*.o")));
    job.setFilter(filter);

    SyncJob copy = job;
    QCOMPARE(copy.id(), job.id());
    copy.setOptions(SyncJob::DontAdd);
    copy.setMaximumKeepTime(1);
    QCOMPARE(int(job.options()), 0);
    QCOMPARE(job.maximumKeepTime(), 180);
    QCOMPARE(copy.id(), job.id());
    QCOMPARE(copy.name(), QStringLiteral("nightly"));
    QCOMPARE(copy.filter().itemCount(), 1);

    SyncJob other;
    other.setName(QStringLiteral("nightly"));
    QVERIFY(other.id() != job.id());
}

void TestSyncJob::commandLineDefaults()
{
    QCOMPARE(int(SyncJob::commandLineDefaults()), 0x1030);
}

QTEST_GUILESS_MAIN(TestSyncJob)
#include "tst_syncjob.moc"
