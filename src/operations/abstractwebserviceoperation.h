#ifndef ABSTRACTWEBSERVICEOPERATION_H
#define ABSTRACTWEBSERVICEOPERATION_H

#include <QMetaType>

#include <QByteArray>
#include <QSharedPointer>
#include <QUrl>

#include "net/httpheader.h"
#include "net/metadata.h"
#include "operations/abstractoperation.h"

class AbstractAccount;
class QIODevice;

// One request to a web service, carried out by a handler's HTTP client. The
// operation knows its method, address, body and headers; the handler feeds it
// the answer, and the answer's head stays on it for the group's retry decision.
class AbstractWebServiceOperation : public AbstractOperation
{
public:
    // What transferType() answers for the operations that move a body.
    enum TransferType { NoTransfer = 0, DownloadTransfer = 2, UploadTransfer = 3 };

    bool isWebServiceOperation() const override { return true; }

    virtual QUrl url() const = 0;
    virtual HttpRequestHeader::Method method() const = 0;
    // Asked by the retry policy: a storage request is judged by its status
    // and the store's error code.
    virtual bool isStorageOperation() const { return false; }
    // Prepares the body; false means the operation has failed already (with
    // its error set) and no request is to be made.
    virtual bool initializeRequestDataDevice() { return true; }
    // The body to send, null for none.
    virtual QIODevice* requestDataDevice() const { return nullptr; }
    // Prepares the sink of the body; by default responseData is emptied.
    virtual bool initializeResponseDataDevice();
    // Where the body goes; null keeps it in responseData().
    virtual QIODevice* responseDataDevice() const { return nullptr; }
    // The request is over, either way: release the devices.
    virtual void requestFinished() {}
    // Judges the answer, setting an error on the operation if it failed.
    virtual bool processResponseData() = 0;
    virtual void dataReceived(const QByteArray& data);
    virtual void setRequestData(const QByteArray& data);
    virtual void setHttpResponseHeader(const HttpResponseHeader& header);
    // A fresh copy for a retry, in parent, with a date and signature of its own.
    AbstractWebServiceOperation* clone(OperationGroup* parent) const override = 0;
    // Fills header with the complete request head.
    virtual void prepareRequestHeader(HttpRequestHeader& header) = 0;
    // The 16 raw bytes of the body's MD5, or empty.
    virtual QByteArray contentMD5() const { return QByteArray(); }
    // The headers particular to this operation.
    virtual Metadata httpFieldList() const { return Metadata(); }
    // The address whose encoded path and query are signed.
    virtual QUrl canonicalizedResource() const = 0;
    virtual QSharedPointer<AbstractAccount> account() const = 0;
    // What the last request head signed, for the log; null when unsigned.
    virtual QByteArray stringToSign() const { return QByteArray(); }
    // True when the store refused the request for how it was signed and the
    // account now signs it otherwise: it is to go again, and that is no retry.
    virtual bool learnFromSignatureRefusal() { return false; }

    // Builds the request head through prepareRequestHeader.
    void makeRequestHeader();
    HttpRequestHeader httpRequestHeader() const;
    HttpResponseHeader httpResponseHeader() const;
    // The stored head itself, for a caller on the handler's thread that must
    // not copy it; not guarded.
    HttpResponseHeader* httpResponseHeaderPtr() { return &m_responseHeader; }
    // The body received, when no device took it.
    QByteArray responseData() const;
    // The body to send, when it is held in memory.
    QByteArray requestData() const;

    int redirectCount() const;
    void setRedirectCount(int count);
    // Where to send the request instead of url(); setting it raises the flag.
    QUrl redirectLocation() const;
    bool redirectFlag() const;
    void setRedirectLocation(const QUrl& location);

protected:
    void clearResponseData();

private:
    HttpRequestHeader m_requestHeader;
    HttpResponseHeader m_responseHeader;
    QByteArray m_responseData;
    bool m_redirectFlag = false;
    int m_redirectCount = 0;
    QUrl m_redirectLocation;
    QByteArray m_requestData;
    mutable FastMutex m_webMutex;
};

Q_DECLARE_METATYPE(AbstractWebServiceOperation*)

#endif
