#ifndef BUCKETLOCATIONS_H
#define BUCKETLOCATIONS_H

#include <QByteArray>
#include <QList>
#include <QSharedDataPointer>
#include <QString>

// One region a provider offers: its label and the location constraint that a
// bucket creation sends. A default-constructed region is null.
class BucketRegion
{
public:
    BucketRegion();
    BucketRegion(const QString& name, const QByteArray& code);
    BucketRegion(const BucketRegion& other);
    BucketRegion& operator=(const BucketRegion& other);
    ~BucketRegion();

    bool isNull() const { return !d; }
    QString name() const;
    void setName(const QString& name);
    QByteArray code() const;
    void setCode(const QByteArray& code);

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

// The regions of a provider, one of them the default. A provider without
// regions has an empty, null list.
class BucketLocations
{
public:
    BucketLocations();
    BucketLocations(const BucketLocations& other);
    BucketLocations& operator=(const BucketLocations& other);
    ~BucketLocations();

    BucketRegion defaultRegion() const;
    void setDefaultRegion(const BucketRegion& region);
    void addRegion(const BucketRegion& region);
    int count() const;
    BucketRegion regionAt(int index) const;
    // The label of the region with that location constraint; the code itself
    // when no region has it. An empty code names the default region.
    QString nameFromCode(const QString& code) const;

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
