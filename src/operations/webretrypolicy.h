#ifndef WEBRETRYPOLICY_H
#define WEBRETRYPOLICY_H

#include <QUrl>

class AbstractOperation;
class AbstractWebServiceOperation;
class OperationGroup;

// Reads a finished web request's outcome for the default retry policy of a
// group: what the error and the answer say, not what the group then does.
namespace WebRetryPolicy {

// Resend: the store refused the signature and the account now signs
// otherwise; the request goes again without counting as a retry.
enum Decision { NoRetry, Retry, Redirect, Resend };

Decision decide(AbstractWebServiceOperation* op);
// True for the answers worth sending again as they are: transient service
// errors and a clock that the store finds skewed.
bool isRetriableAnswer(int status, const QString& code);
int redirectCount(AbstractWebServiceOperation* op);
// The "Location" of a redirect, invalid when the answer has none usable.
QUrl redirectLocation(AbstractWebServiceOperation* op);
AbstractOperation* cloneForRedirect(AbstractWebServiceOperation* op, OperationGroup* parent,
                                    const QUrl& location);

} // namespace WebRetryPolicy

#endif
