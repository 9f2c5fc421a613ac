#ifndef SIGNATUREV4_H
#define SIGNATUREV4_H

#include "cloud/requestsigner.h"

// AWS4-HMAC-SHA256 in the header form: "x-amz-date", "x-amz-content-sha256"
// and "Authorization" over a canonical request that covers the host, the
// body's MD5 and every header of the operation.
class SignatureV4 : public RequestSigner
{
public:
    SignedFields sign(const SigningRequest& request) const override;

    // Every query item, name and value encoded alike, sorted; "acl" becomes "acl=".
    static QByteArray canonicalQuery(const QUrl& target);
    // The hex SHA-256 of a body held in memory, the unsigned marker for a streamed one.
    static QByteArray payloadHash(const SigningRequest& request);

    static const QByteArray _algorithm;
    static const QByteArray _unsignedPayload;
};

#endif
