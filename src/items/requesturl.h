#ifndef REQUESTURL_H
#define REQUESTURL_H

#include <QByteArray>
#include <QSharedPointer>
#include <QString>
#include <QUrl>

#include "util/brindlelib.h"

class AbstractAccount;

// The address rules that buckets, folders and files share.
class RequestUrl
{
public:
    // The request URL of key (empty for the bucket itself) in bucket. The host
    // is the bucket's CNAME when useCName finds one, else bucket.endpoint when
    // the name allows it and the account does not ask for path style, else
    // the endpoint with the bucket as first path segment. The key is
    // percent-encoded but for its "/"; a port that is the protocol's standard
    // stays out; withVersion adds the "versionId" query.
    static QUrl build(const QSharedPointer<AbstractAccount>& account,
                      BrindleLib::Protocol protocol, const QString& bucket, const QString& key,
                      bool useCName, bool withVersion, const QByteArray& versionId);
    // ":port" when the account's port differs from its protocol's standard.
    static QString portText(const QSharedPointer<AbstractAccount>& account);
    // Whether the account's endpoint lies in the domain of Amazon's or
    // Google's default endpoint; such stores show paths as "s3://bucket/...".
    static bool isWellKnown(const QSharedPointer<AbstractAccount>& account);
};

#endif
