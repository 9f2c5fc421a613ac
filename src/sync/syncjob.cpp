#include "sync/syncjob.h"

#include <QUuid>

#include "util/lockeddata.h"

struct SyncJob::Private : QSharedData
{
    QString name;
    Options options;
    int maximumKeepVersions = 10;
    int maximumKeepTime = 180;
    mutable FastMutex mutex;
    Filter filter;
    QString id = QUuid::createUuid().toString();
};

SyncJob::SyncJob() = default;
SyncJob::SyncJob(const SyncJob& other) = default;
SyncJob& SyncJob::operator=(const SyncJob& other) = default;
SyncJob::~SyncJob() = default;

bool SyncJob::isNull() const
{
    return !d;
}

QString SyncJob::name() const
{
    return LockedData::read(d, &Private::name);
}

QString SyncJob::id() const
{
    return d ? LockedData::read(d, &Private::id) : QString();
}

SyncJob::Options SyncJob::options() const
{
    return LockedData::read(d, &Private::options);
}

Filter SyncJob::filter() const
{
    return LockedData::read(d, &Private::filter);
}

int SyncJob::maximumKeepVersions() const
{
    return LockedData::read(d, &Private::maximumKeepVersions);
}

int SyncJob::maximumKeepTime() const
{
    return LockedData::read(d, &Private::maximumKeepTime);
}

void SyncJob::setName(const QString& name)
{
    LockedData::write(d, &Private::name, name);
}

void SyncJob::setId(const QString& id)
{
    LockedData::write(d, &Private::id, id);
}

void SyncJob::setOptions(Options options)
{
    LockedData::write(d, &Private::options, options);
}

void SyncJob::setFilter(const Filter& filter)
{
    LockedData::write(d, &Private::filter, filter);
}

void SyncJob::setMaximumKeepVersions(int versions)
{
    LockedData::write(d, &Private::maximumKeepVersions, versions);
}

void SyncJob::setMaximumKeepTime(int time)
{
    LockedData::write(d, &Private::maximumKeepTime, time);
}
