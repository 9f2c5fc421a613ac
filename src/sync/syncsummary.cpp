#include "sync/syncsummary.h"

#include <QCoreApplication>

SyncSummary& SyncSummary::instance()
{
    static SyncSummary summary;
    return summary;
}

void SyncSummary::start()
{
    if (!m_clock.isValid())
        m_clock.start();
}

void SyncSummary::addPlannedCopy(qint64 bytes)
{
    ++m_plannedFiles;
    m_plannedBytes += qMax<qint64>(0, bytes);
}

void SyncSummary::addCopied(bool replaced, qint64 bytes)
{
    ++(replaced ? m_replaced : m_copied);
    m_doneBytes += qMax<qint64>(0, bytes);
}

void SyncSummary::addFailed(bool copy)
{
    ++m_failed;
    if (copy)
        ++m_failedCopies;
}

QString SyncSummary::bytesText(qint64 bytes)
{
    static const char* const units[] = {"kB", "MB", "GB", "TB"};
    if (bytes < 1000)
        return QStringLiteral("%1 B").arg(bytes);
    double value = double(bytes) / 1000;
    int unit = 0;
    for (; value >= 1000 && unit < 3; ++unit)
        value /= 1000;
    return QStringLiteral("%1 %2").arg(value, 0, 'f', 1).arg(QLatin1String(units[unit]));
}

namespace {

QString duration(qint64 seconds)
{
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

QString SyncSummary::summaryLine(qint64 sent, qint64 received) const
{
    const qint64 elapsed = qMax<qint64>(1, m_clock.isValid() ? m_clock.elapsed() : 0);
    return QCoreApplication::translate("SyncSummary",
                                       "Copied %1, replaced %2, deleted %3, unchanged %4, failed %5; "
                                       "sent %6, received %7 in %8 s (%9/s)")
        .arg(m_copied)
        .arg(m_replaced)
        .arg(m_deleted)
        .arg(m_unchanged)
        .arg(m_failed)
        .arg(bytesText(sent), bytesText(received), QString::number(double(elapsed) / 1000, 'f', 1),
             bytesText((sent + received) * 1000 / elapsed));
}

QString SyncSummary::progressLine() const
{
    const qint64 elapsed = qMax<qint64>(1, m_clock.isValid() ? m_clock.elapsed() : 0);
    const qint64 rate = m_doneBytes * 1000 / elapsed;
    const qint64 left = qMax<qint64>(0, m_plannedBytes - m_doneBytes);
    const QString eta = rate > 0 ? duration(left / rate) : QStringLiteral("-");
    return QCoreApplication::translate("SyncSummary", "Progress: %1/%2 files, %3/%4, %5/s, ETA %6")
        .arg(m_copied + m_replaced + m_failedCopies)
        .arg(m_plannedFiles)
        .arg(bytesText(m_doneBytes), bytesText(m_plannedBytes), bytesText(rate), eta);
}
