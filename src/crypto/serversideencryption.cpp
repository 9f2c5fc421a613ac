#include "crypto/serversideencryption.h"

#include "util/lockeddata.h"

struct ServerSideEncryption::Private : QSharedData
{
    Mode mode = NotRequested;
    Algorithm algorithm = NoAlgorithm;
    mutable FastMutex mutex;
};

ServerSideEncryption::ServerSideEncryption() = default;

ServerSideEncryption::ServerSideEncryption(Mode mode, Algorithm algorithm)
{
    if (mode != NotRequested || algorithm != NoAlgorithm) {
        setMode(mode);
        setAlgorithm(algorithm);
    }
}

ServerSideEncryption::ServerSideEncryption(const ServerSideEncryption& other) = default;
ServerSideEncryption& ServerSideEncryption::operator=(const ServerSideEncryption& other) = default;
ServerSideEncryption::~ServerSideEncryption() = default;

bool ServerSideEncryption::isNull() const
{
    return !d;
}

ServerSideEncryption::Mode ServerSideEncryption::mode() const
{
    return LockedData::read(d, &Private::mode);
}

ServerSideEncryption::Algorithm ServerSideEncryption::algorithm() const
{
    return LockedData::read(d, &Private::algorithm);
}

void ServerSideEncryption::setMode(Mode mode)
{
    LockedData::write(d, &Private::mode, mode);
}

void ServerSideEncryption::setAlgorithm(Algorithm algorithm)
{
    LockedData::write(d, &Private::algorithm, algorithm);
}
