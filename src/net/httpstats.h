#ifndef HTTPSTATS_H
#define HTTPSTATS_H

#include <QElapsedTimer>
#include <QRecursiveMutex>

// Process-wide byte counts of every client socket, in both directions.
class HttpStats
{
public:
    HttpStats();

    void addDownloadedBytes(qint64 bytes);
    void addUploadedBytes(qint64 bytes);
    // Bytes per second in each direction since the previous call; the counts restart.
    void getSpeedAndReset(qint64& downloadSpeed, qint64& uploadSpeed);
    // Bytes in each direction since the process started; never reset.
    qint64 totalDownloaded();
    qint64 totalUploaded();

private:
    QRecursiveMutex m_mutex;
    QElapsedTimer m_time;
    qint64 m_downloaded = 0;
    qint64 m_uploaded = 0;
    qint64 m_totalDownloaded = 0;
    qint64 m_totalUploaded = 0;
};

extern HttpStats global_httpStats;

#endif
