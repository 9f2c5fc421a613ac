#ifndef WSPATH_H
#define WSPATH_H

#include <QList>
#include <QSharedPointer>
#include <QString>

class Endpoint;

// An "s3://" or "gs://" path as a user types it, cut into its parts.
struct WSPath
{
    bool valid = false;
    bool google = false;
    QString bucket;
    int port = 0;      // 0 when the path names none
    QString rest;      // what follows the "/" behind the bucket
    bool hasSlash = false;

    // Not valid for any other kind of path.
    static WSPath parse(const QString& path);
};

// The bucket and key that an http(s) URL names, and the endpoint it is on.
struct WSLocation
{
    QString bucket;
    QString key;
    QSharedPointer<Endpoint> endpoint;

    // By the first of endpoints that host is, or is below; a host of none
    // gives its first label as the bucket, on a new endpoint of the rest.
    static WSLocation locate(const QString& host, const QString& path,
                             const QList<QSharedPointer<Endpoint>>& endpoints);
};

#endif
