#ifndef SYNCSUMMARY_H
#define SYNCSUMMARY_H

#include <QElapsedTimer>
#include <QString>

// What the sync of this process has planned and done, for the closing
// summary and the progress line. Counted on the main thread, read there too.
class SyncSummary
{
public:
    static SyncSummary& instance();

    // The first call starts the clock.
    void start();
    bool isStarted() const { return m_clock.isValid(); }

    // A copy the plan holds, for the totals of the progress line.
    void addPlannedCopy(qint64 bytes);
    void addCopied(bool replaced, qint64 bytes);
    void addDeleted(qint64 files) { m_deleted += files; }
    void addUnchanged(qint64 files) { m_unchanged += files; }
    // A failed copy also counts as done for the progress line.
    void addFailed(bool copy = false);

    // "Copied 2, replaced 1, deleted 0, unchanged 7, failed 0; sent 1.2 MB,
    // received 3.4 kB in 2.1 s (590.1 kB/s)"
    QString summaryLine(qint64 sent, qint64 received) const;
    // "Progress: 3/10 files, 1.2 MB/5.0 MB, 800.0 kB/s, ETA 0:05"
    QString progressLine() const;

    static QString bytesText(qint64 bytes);

private:
    QElapsedTimer m_clock;
    qint64 m_plannedFiles = 0;
    qint64 m_plannedBytes = 0;
    qint64 m_copied = 0;
    qint64 m_replaced = 0;
    qint64 m_doneBytes = 0;
    qint64 m_deleted = 0;
    qint64 m_unchanged = 0;
    qint64 m_failed = 0;
    qint64 m_failedCopies = 0;
};

#endif
