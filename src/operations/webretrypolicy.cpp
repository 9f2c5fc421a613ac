#include "operations/webretrypolicy.h"

#include "operations/abstractwebserviceoperation.h"
#include "net/httpheader.h"
#include "net/timeoffset.h"
#include "util/brindlelib.h"

namespace WebRetryPolicy {

namespace {
// Errors of the HTTP client that no retry can mend.
bool isFinalClientError(const OpError& error)
{
    bool ok = false;
    const int number = error.code().toInt(&ok);
    return ok && number >= 7 && number <= 9;
}
// The store's refusal carries its own time; the reference host is asked only
// when it doesn't, so that a private network can correct its clock too.
int skewFromAnswer(AbstractWebServiceOperation* op)
{
    int offset = 0;
    if (TimeOffset::offsetFromAnswer(op->responseData(), op->httpResponseHeader().field("Date").value(), &offset))
        return offset;
    return TimeOffset::computeTimeOffset();
}
} // namespace

bool isRetriableAnswer(int status, const QString& code)
{
    switch (status) {
    case 400:
        return code == QLatin1String("BadDigest") || code == QLatin1String("IncompleteBody")
            || code == QLatin1String("RequestTimeout");
    case 403:
        return code == QLatin1String("RequestTimeTooSkewed");
    case 500:
        return true;
    case 503:
        return code == QLatin1String("ServiceUnavailable") || code == QLatin1String("SlowDown");
    default:
        return false;
    }
}

Decision decide(AbstractWebServiceOperation* op)
{
    const OpError error = op->error();
    if (error.type() == OpError::NetworkError)
        return isFinalClientError(error) ? NoRetry : Retry;
    if (!op->isStorageOperation())
        return NoRetry;
    if (op->learnFromSignatureRefusal())
        return Resend;
    const HttpResponseHeader header = op->httpResponseHeader();
    // No answer and no network error: it failed before anything went out, on
    // its own body, and sending it again would fail the same way.
    if (!header.isValid())
        return NoRetry;
    const int status = header.statusCode();
    if (!error.isNull() && isRetriableAnswer(status, error.code())) {
        // The clone is signed anew, with the corrected clock.
        if (status == 403)
            BrindleLib::setTimeOffset(skewFromAnswer(op));
        return Retry;
    }
    if (status >= 300 && status <= 399)
        return Redirect;
    return NoRetry;
}

int redirectCount(AbstractWebServiceOperation* op)
{
    return op->redirectCount();
}

QUrl redirectLocation(AbstractWebServiceOperation* op)
{
    const HttpResponseHeader header = op->httpResponseHeader();
    if (!header.contains("Location"))
        return QUrl();
    return QUrl::fromEncoded(header.field("Location").value(), QUrl::StrictMode);
}

AbstractOperation* cloneForRedirect(AbstractWebServiceOperation* op, OperationGroup* parent,
                                    const QUrl& location)
{
    AbstractWebServiceOperation* redirected = op->clone(parent);
    redirected->setRedirectLocation(location);
    redirected->setRedirectCount(op->redirectCount() + 1);
    return redirected;
}

} // namespace WebRetryPolicy
