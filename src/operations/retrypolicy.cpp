#include "operations/retrypolicy.h"

#include <algorithm>

#include <QDateTime>

#include "operations/abstractwebserviceoperation.h"
#include "net/httpheader.h"
#include "net/timeoffset.h"

namespace RetryPolicy {

bool allowsAnother(const AbstractOperation* op)
{
    // A failed run counts once; an operation may declare itself spent by
    // raising its error counter.
    const int runs = op->errorCounter() + 1;
    if (op->isWebServiceOperation())
        return std::max(op->sendCount(), runs) < maxWebSends;
    return runs < maxLocalRuns;
}

int clientResendsLeft(const AbstractOperation* op)
{
    return std::max(0, maxWebSends - std::max(op->sendCount(), op->errorCounter()) - 1);
}

int delayMs(int failures, int waitedMs, int hintMs, bool slowDown, double jitter)
{
    qint64 full = firstDelayMs;
    for (int i = 1; i < failures && full < maxDelayMs; ++i)
        full *= 2;
    if (slowDown)
        full *= 2;
    full = std::min<qint64>(full, maxDelayMs);
    qint64 delay = full - qint64(full * std::clamp(jitter, 0.0, 1.0) / 2);
    delay = std::max<qint64>(delay, std::min(hintMs, maxHintMs));
    return int(std::clamp<qint64>(delay, 0, std::max(0, maxTotalDelayMs - waitedMs)));
}

int scaled(int delayMs)
{
    static const double factor = [] {
        bool ok = false;
        const double value = qEnvironmentVariable("QUORLE_RETRY_DELAY_SCALE").toDouble(&ok);
        return ok && value >= 0 && value <= 1 ? value : 1.0;
    }();
    return int(delayMs * factor);
}

int retryAfterMs(const HttpResponseHeader& header)
{
    if (!header.isValid() || !header.contains("Retry-After"))
        return 0;
    const QByteArray value = header.field("Retry-After").value().trimmed();
    bool ok = false;
    const qint64 seconds = value.toLongLong(&ok);
    if (ok)
        return int(std::clamp<qint64>(seconds, 0, maxHintMs / 1000) * 1000);
    const QDateTime when = fromHttpDate(QString::fromLatin1(value));
    if (!when.isValid())
        return 0;
    return int(std::clamp<qint64>(QDateTime::currentDateTimeUtc().msecsTo(when), 0, maxHintMs));
}

QString reason(const AbstractOperation* op)
{
    const OpError error = op->error();
    if (error.isNull())
        return QString();
    // Messages end with the cause, after the operation and its paths.
    const QStringList lines = error.message().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QString text = lines.isEmpty() ? error.code() : lines.last().trimmed();
    if (error.type() == OpError::ServiceError && !error.code().isEmpty() && !text.contains(error.code()))
        text = error.code() + QStringLiteral(": ") + text;
    return text;
}

} // namespace RetryPolicy
