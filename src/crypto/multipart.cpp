#include "crypto/multipart.h"

#include "util/lockeddata.h"

struct Multipart::Private : QSharedData
{
    Directive directive = DefaultDirective;
    qint64 partSize = 1073741824;
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
