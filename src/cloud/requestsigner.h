#ifndef REQUESTSIGNER_H
#define REQUESTSIGNER_H

#include <QByteArray>
#include <QDateTime>
#include <QUrl>

#include "net/httpheader.h"
#include "net/metadata.h"

// Everything a signature may cover of a request that is about to go out.
struct SigningRequest
{
    HttpRequestHeader::Method method = HttpRequestHeader::GetMethod;
    QUrl target;          // where the request goes, redirect included
    QUrl resource;        // the resource in the store's own naming
    QDateTime dateTime;   // the request's moment, clock correction included
    QByteArray host;      // the "Host" value
    QByteArray md5;       // base64 "Content-MD5", empty for none
    Metadata fields;      // the operation's own headers, in its order
    QByteArray body;      // the body held in memory; null when there is none
    bool streamedBody = false; // the body comes from a device: not hashed
    QByteArray accessKey;
    QByteArray secretKey;
    QByteArray authPrefix; // the provider's word in front of a Version 2 key
    QByteArray amzPrefix;  // the provider's header prefix, "x-amz-" and the like
    QByteArray region;
};

// What a signer adds to the head, right behind "Host", in this order, and
// what it signed, for the debug log.
struct SignedFields
{
    Metadata fields;
    QByteArray description;
};

// One signature scheme. Stateless: one instance serves every thread.
class RequestSigner
{
public:
    virtual ~RequestSigner() = default;
    virtual SignedFields sign(const SigningRequest& request) const = 0;

    // The signer of a version number, 2 or 4.
    static const RequestSigner& forVersion(int version);
};

#endif
