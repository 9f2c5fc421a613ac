#include "crypto/multipart.h"

#include <limits>

#include "util/lockeddata.h"

struct Multipart::Private : QSharedData
{
    Directive directive = DefaultDirective;
    qint64 partSize = 1073741824;
    qint64 threshold = Multipart::_defaultThreshold;
    int partsInFlight = 4;
    mutable FastMutex mutex;
};

Multipart::Multipart() = default;
Multipart::Multipart(const Multipart& other) = default;
Multipart& Multipart::operator=(const Multipart& other) = default;
Multipart::~Multipart() = default;

Multipart::Directive Multipart::directive() const
{
    return LockedData::read(d, &Private::directive);
}

qint64 Multipart::partSize() const
{
    return LockedData::read(d, &Private::partSize);
}

void Multipart::setDirective(Directive directive)
{
    LockedData::write(d, &Private::directive, directive);
}

void Multipart::setPartSize(qint64 size)
{
    LockedData::write(d, &Private::partSize, size);
}

qint64 Multipart::threshold() const
{
    return LockedData::read(d, &Private::threshold);
}

void Multipart::setThreshold(qint64 threshold)
{
    LockedData::write(d, &Private::threshold, threshold);
}

int Multipart::partsInFlight() const
{
    return LockedData::read(d, &Private::partsInFlight);
}

void Multipart::setPartsInFlight(int count)
{
    LockedData::write(d, &Private::partsInFlight, qMax(1, count));
}

bool Multipart::appliesTo(qint64 size) const
{
    return size > threshold();
}

qint64 Multipart::partSizeFor(qint64 total)
{
    const qint64 mebibyte = Q_INT64_C(1024) * 1024;
    const qint64 spread = (total + _maximumPartCount - 1) / _maximumPartCount;
    const qint64 rounded = (spread + mebibyte - 1) / mebibyte * mebibyte;
    return qMax(_minimumPartSize, rounded);
}

int Multipart::partCount(qint64 total, qint64 partSize)
{
    if (total <= 0)
        return 1;
    return int((total + partSize - 1) / partSize);
}

qint64 Multipart::partOffset(int number, qint64 partSize)
{
    return qint64(number - 1) * partSize;
}

qint64 Multipart::partLength(int number, qint64 total, qint64 partSize)
{
    return qBound(Q_INT64_C(0), total - partOffset(number, partSize), partSize);
}

qint64 Multipart::encodedSizeBound(qint64 plain, bool compressed, bool encrypted)
{
    qint64 bound = plain;
    // zlib's conservative bound, which its releases have only lowered since,
    // and the gzip header and trailer.
    if (compressed)
        bound += ((plain + 7) >> 3) + ((plain + 63) >> 6) + 5 + 18;
    // "Salted__" and the salt, then at most one block of padding (the
    // library's largest block).
    if (encrypted)
        bound += 16 + 32;
    return bound;
}

qint64 Multipart::parseSize(const QString& text)
{
    QString digits = text.trimmed();
    int shift = 0;
    if (!digits.isEmpty()) {
        const int unit = QStringLiteral("KMGT").indexOf(digits.back().toUpper());
        if (unit >= 0) {
            shift = 10 * (unit + 1);
            digits.chop(1);
        }
    }
    bool ok = false;
    const qint64 value = digits.toLongLong(&ok, 10);
    // A sign or a value whose unit overflows is no size.
    if (!ok || value < 0 || digits.startsWith(QLatin1Char('+'))
        || value > (std::numeric_limits<qint64>::max() >> shift))
        return -1;
    return value << shift;
}
