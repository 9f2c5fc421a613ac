#include "items/bucketlocations.h"

#include "util/lockeddata.h"

struct BucketRegion::Private : QSharedData
{
    mutable FastMutex mutex;
    QString name;
    QByteArray code;
};

BucketRegion::BucketRegion() = default;

BucketRegion::BucketRegion(const QString& name, const QByteArray& code)
{
    LockedData::modify(d, [&](Private& data) {
        data.name = name;
        data.code = code;
    });
}

BucketRegion::BucketRegion(const BucketRegion& other) = default;
BucketRegion& BucketRegion::operator=(const BucketRegion& other) = default;
BucketRegion::~BucketRegion() = default;

QString BucketRegion::name() const
{
    return LockedData::read(d, &Private::name);
}

void BucketRegion::setName(const QString& name)
{
    LockedData::write(d, &Private::name, name);
}

QByteArray BucketRegion::code() const
{
    return LockedData::read(d, &Private::code);
}

void BucketRegion::setCode(const QByteArray& code)
{
    LockedData::write(d, &Private::code, code);
}

struct BucketLocations::Private : QSharedData
{
    mutable FastMutex mutex;
    BucketRegion defaultRegion;
    QList<BucketRegion> regions;
};

BucketLocations::BucketLocations() = default;
BucketLocations::BucketLocations(const BucketLocations& other) = default;
BucketLocations& BucketLocations::operator=(const BucketLocations& other) = default;
BucketLocations::~BucketLocations() = default;

BucketRegion BucketLocations::defaultRegion() const
{
    return LockedData::read(d, &Private::defaultRegion);
}

void BucketLocations::setDefaultRegion(const BucketRegion& region)
{
    LockedData::write(d, &Private::defaultRegion, region);
}

void BucketLocations::addRegion(const BucketRegion& region)
{
    LockedData::modify(d, [&region](Private& data) { data.regions.append(region); });
}

int BucketLocations::count() const
{
    return LockedData::inspect(d, [](const Private& data) { return int(data.regions.size()); });
}

BucketRegion BucketLocations::regionAt(int index) const
{
    return LockedData::inspect(d, [index](const Private& data) { return data.regions.at(index); });
}

QString BucketLocations::nameFromCode(const QString& code) const
{
    if (!d)
        return code;
    // Copies taken under our lock; the regions' own locks are taken after it
    // is released.
    const QList<BucketRegion> regions = LockedData::read(d, &Private::regions);
    const BucketRegion fallback = defaultRegion();
    const QByteArray wanted = code.toLatin1();
    for (const BucketRegion& region : regions) {
        if (region.code() == wanted)
            return region.name();
    }
    if (fallback.code() == wanted || (code.isEmpty() && !fallback.name().isEmpty()))
        return fallback.name();
    return code;
}
