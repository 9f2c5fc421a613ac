#include "items/wspath.h"

#include "items/endpoint.h"

WSPath WSPath::parse(const QString& path)
{
    WSPath parts;
    parts.google = path.startsWith(QLatin1String("gs://"), Qt::CaseInsensitive);
    parts.valid = parts.google || path.startsWith(QLatin1String("s3://"), Qt::CaseInsensitive);
    if (!parts.valid)
        return parts;
    const qsizetype start = 5;
    const qsizetype slash = path.indexOf(QLatin1Char('/'), start);
    parts.hasSlash = slash >= 0;
    parts.bucket = path.mid(start, parts.hasSlash ? slash - start : -1);
    if (parts.hasSlash)
        parts.rest = path.mid(slash + 1);
    const qsizetype colon = parts.bucket.indexOf(QLatin1Char(':'));
    if (colon >= 0) {
        parts.port = parts.bucket.mid(colon + 1).toInt();
        parts.bucket.truncate(colon);
    }
    return parts;
}

WSLocation WSLocation::locate(const QString& host, const QString& path,
                              const QList<QSharedPointer<Endpoint>>& endpoints)
{
    const QString relative = path.startsWith(QLatin1Char('/')) ? path.mid(1) : path;
    for (const QSharedPointer<Endpoint>& endpoint : endpoints) {
        const QString hostName = endpoint->hostName();
        if (host == hostName) {
            const qsizetype slash = relative.indexOf(QLatin1Char('/'));
            if (slash < 0)
                return {relative, QString(), endpoint};
            return {relative.left(slash), relative.mid(slash + 1), endpoint};
        }
        if (host.endsWith(QLatin1Char('.') + hostName))
            return {host.left(host.size() - hostName.size() - 1), relative, endpoint};
    }
    // A host of no known endpoint: its first label is the bucket.
    const qsizetype dot = host.indexOf(QLatin1Char('.'));
    const QString rest = dot < 0 ? QString() : host.mid(dot + 1);
    return {host.left(dot), relative, QSharedPointer<S3Endpoint>::create(rest)};
}
