#include "util/operror.h"

#include <QAtomicInt>

#include "util/fastmutex.h"

namespace {
QAtomicInt global_errorId;
}

class OpError::ErrorPrivate : public QSharedData
{
public:
    ErrorType type = NoError;
    QString code;
    QString message;
    QString detail;
    int errorId = global_errorId.fetchAndAddOrdered(1) + 1;
    QString endPoint;
    bool showFlag = false;
    mutable FastMutex mutex;
};

OpError::OpError() = default;

OpError::OpError(ErrorType type, const QString& code, const QString& message, const QString& detail)
    : d(new ErrorPrivate)
{
    d->type = type;
    d->code = code;
    d->message = message;
    d->detail = detail;
}

OpError::OpError(const OpError& other) = default;
OpError& OpError::operator=(const OpError& other) = default;
OpError::~OpError() = default;

bool OpError::isNull() const
{
    return !d;
}

void OpError::ensureData()
{
    if (!d)
        d = new ErrorPrivate;
}

namespace {
template <typename T>
T readLocked(const OpError::ErrorPrivate* d, T OpError::ErrorPrivate::*member, T fallback)
{
    if (!d)
        return fallback;
    FastMutexLocker locker(d->mutex);
    return d->*member;
}
} // namespace

OpError::ErrorType OpError::type() const { return readLocked(d.data(), &ErrorPrivate::type, NoError); }
QString OpError::code() const { return readLocked(d.data(), &ErrorPrivate::code, QString()); }
QString OpError::message() const { return readLocked(d.data(), &ErrorPrivate::message, QString()); }
QString OpError::detail() const { return readLocked(d.data(), &ErrorPrivate::detail, QString()); }
int OpError::errorId() const { return readLocked(d.data(), &ErrorPrivate::errorId, 0); }
QString OpError::endPoint() const { return readLocked(d.data(), &ErrorPrivate::endPoint, QString()); }
bool OpError::showFlag() const { return readLocked(d.data(), &ErrorPrivate::showFlag, false); }

void OpError::setDetail(const QString& detail)
{
    ensureData();
    FastMutexLocker locker(d->mutex);
    d->detail = detail;
}

void OpError::setEndPoint(const QString& endPoint)
{
    ensureData();
    FastMutexLocker locker(d->mutex);
    d->endPoint = endPoint;
}

void OpError::setShowFlag(bool shown)
{
    ensureData();
    FastMutexLocker locker(d->mutex);
    d->showFlag = shown;
}

// The two detailed forms swap their arguments on purpose: the console only
// ever asks for the short form, and other readers rely on these shapes.
QString OpError::toString(bool withDetail) const
{
    if (!d)
        return QString();
    FastMutexLocker locker(d->mutex);
    if (!withDetail)
        return d->code.isEmpty() ? d->message : QString("%1: %2").arg(d->code, d->message);
    if (!d->code.isEmpty())
        return QString("%1: %2").arg(d->message, d->detail);
    return QString("%1: %2\n%3").arg(d->code, d->message, d->detail);
}
