#ifndef ABSTRACTCLOUDSTORAGEOPERATION_H
#define ABSTRACTCLOUDSTORAGEOPERATION_H

#include "operations/abstractwebserviceoperation.h"
#include "cloud/requestsigner.h"

// A request to an S3-compatible store: signed with the account's keys, and
// judged by the status and the store's error document.
class AbstractCloudStorageOperation : public AbstractWebServiceOperation
{
public:
    bool isStorageOperation() const override { return true; }
    // The default judgement: a status from 400 to 599 but 404 is an error,
    // from the store's error document when there is one.
    bool processResponseData() override;
    // Date, signature (of the version the account asks for), the fixed
    // headers, then this operation's own, sorted.
    void prepareRequestHeader(HttpRequestHeader& header) override;
    // The bucket whose region signs the request; empty for the account's own.
    virtual QString bucketName() const { return QString(); }

    // What the last prepareRequestHeader signed; null before.
    QByteArray stringToSign() const override;
    bool learnFromSignatureRefusal() override;
    // The version (2 or 4) and region of the last signature.
    int signedVersion() const;
    QByteArray signedRegion() const;

    // The provider's own headers of fields that take part in the signature,
    // sorted. Keys are compared without case but not changed, so callers give
    // them in lower case. A repeated key is merged into the first entry and
    // stays in the list as well.
    static Metadata canonicalizedAmzHeaders(const QSharedPointer<AbstractAccount>& account,
                                            const Metadata& fields);
    // HMAC over SHA-1: 20 raw bytes.
    static QByteArray HMACSha1(const QByteArray& message, const QByteArray& key);
    // The text of the "Date" header for a moment: English names, in GMT.
    static QByteArray dateText(const QDateTime& dateTime);
    // The text of "User-Agent".
    static QByteArray userAgent();

private:
    SigningRequest signingRequest(const QSharedPointer<AbstractAccount>& owner) const;
    // The error of an XML error document, null when the body holds none.
    OpError errorFromDocument(const QByteArray& body) const;

    QByteArray m_stringToSign;
    int m_signedVersion = 0;
    QByteArray m_signedRegion;
    mutable FastMutex m_signMutex;
};

#endif
