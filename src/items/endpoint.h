#ifndef ENDPOINT_H
#define ENDPOINT_H

#include <QSharedPointer>
#include <QString>

#include "items/abstractfs.h"
#include "util/fastmutex.h"

// The host that a store answers on. S3Endpoint and GSEndpoint only tell the
// two protocol families apart.
class Endpoint : public AbstractFS
{
public:
    Endpoint(const Endpoint& other);
    Endpoint& operator=(const Endpoint&) = delete;

    FileSystemClass fileSystemClass() const override { return CloudClass; }

    QString hostName() const;
    void setHostName(const QString& hostName);
    // The last two labels of the host ("amazonaws.com" for
    // "s3.amazonaws.com"); a host with fewer than two dots is its own domain.
    QString domain() const;
    // Same host name, compared case-sensitively.
    bool isEqual(const QSharedPointer<Endpoint>& other) const;

protected:
    explicit Endpoint(const QString& hostName);

private:
    mutable FastMutex m_mutex;
    QString m_hostName;
    mutable QString m_domain;
};

class S3Endpoint : public Endpoint
{
public:
    explicit S3Endpoint(const QString& hostName = QString()) : Endpoint(hostName) {}
    FileSystemType fileSystemType() const override { return S3FileSystem; }
};

class GSEndpoint : public Endpoint
{
public:
    explicit GSEndpoint(const QString& hostName = QString()) : Endpoint(hostName) {}
    FileSystemType fileSystemType() const override { return GSFileSystem; }
};

#endif
