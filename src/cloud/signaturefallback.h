#ifndef SIGNATUREFALLBACK_H
#define SIGNATUREFALLBACK_H

#include <QByteArray>
#include <QString>

class AbstractWebServiceOperation;

// What a store's answer says about the signature it wants: Version 4 rather
// than 2, or another region for a bucket. What it learns holds for the rest
// of the run, on the operation's account.
namespace SignatureFallback {

// True when the request was refused for how it was signed and the account
// now signs it otherwise: it is to go again, and that is no retry.
bool learnFromAnswer(AbstractWebServiceOperation* op);
// The region named by an S3 host such as "s3.eu-west-1.amazonaws.com" or
// "bucket.s3-us-west-2.amazonaws.com"; empty when the host names none.
QByteArray regionFromHost(const QString& host);

} // namespace SignatureFallback

#endif
