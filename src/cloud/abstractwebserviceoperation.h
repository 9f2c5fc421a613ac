#ifndef ABSTRACTWEBSERVICEOPERATION_H
#define ABSTRACTWEBSERVICEOPERATION_H

#include <QMetaType>

#include <QUrl>

#include "net/httpheader.h"
#include "operations/abstractoperation.h"

// One request to a web service, carried out by a handler's HTTP client.
// The answer's head stays on the operation for the group's retry decision.
class AbstractWebServiceOperation : public AbstractOperation
{
public:
    bool isWebServiceOperation() const override { return true; }

    virtual bool isStorageOperation() const { return false; }
    AbstractWebServiceOperation* clone(OperationGroup* parent) const override = 0;

    HttpResponseHeader httpResponseHeader() const;
    virtual void setHttpResponseHeader(const HttpResponseHeader& header);
    int redirectCount() const;
    void setRedirectCount(int count);
    QUrl redirectLocation() const;
    bool redirectFlag() const;
    void setRedirectLocation(const QUrl& location);

private:
    HttpResponseHeader m_responseHeader;
    bool m_redirectFlag = false;
    int m_redirectCount = 0;
    QUrl m_redirectLocation;
    mutable FastMutex m_webMutex;
};

Q_DECLARE_METATYPE(AbstractWebServiceOperation*)

#endif
