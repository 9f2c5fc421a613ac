#ifndef SIGNATUREV2_H
#define SIGNATUREV2_H

#include "cloud/requestsigner.h"

// HMAC-SHA1 over method, MD5, content type, date, the provider's own headers
// and the resource: "Date" and "Authorization" with the provider's prefix.
class SignatureV2 : public RequestSigner
{
public:
    SignedFields sign(const SigningRequest& request) const override;

    static QByteArray stringToSign(const SigningRequest& request, const QByteArray& date);
    // The provider's headers that take part in the signature, sorted. Keys
    // are compared without case but not changed. A repeated key is merged into
    // the first entry and stays in the list as well.
    static Metadata canonicalizedAmzHeaders(const QByteArray& prefix, const Metadata& fields);
    // The text of the "Date" header for a moment: English names, in GMT.
    static QByteArray dateText(const QDateTime& dateTime);
};

#endif
