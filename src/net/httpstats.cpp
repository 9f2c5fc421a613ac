#include "net/httpstats.h"

#include <QMutexLocker>

HttpStats global_httpStats;

HttpStats::HttpStats()
{
    m_time.start();
}

void HttpStats::addDownloadedBytes(qint64 bytes)
{
    QMutexLocker locker(&m_mutex);
    m_downloaded += bytes;
    m_totalDownloaded += bytes;
}

void HttpStats::addUploadedBytes(qint64 bytes)
{
    QMutexLocker locker(&m_mutex);
    m_uploaded += bytes;
    m_totalUploaded += bytes;
}

void HttpStats::getSpeedAndReset(qint64& downloadSpeed, qint64& uploadSpeed)
{
    QMutexLocker locker(&m_mutex);
    const qint64 elapsed = qMax<qint64>(1, m_time.restart());
    downloadSpeed = m_downloaded * 1000 / elapsed;
    uploadSpeed = m_uploaded * 1000 / elapsed;
    m_downloaded = 0;
    m_uploaded = 0;
}

qint64 HttpStats::totalDownloaded()
{
    QMutexLocker locker(&m_mutex);
    return m_totalDownloaded;
}

qint64 HttpStats::totalUploaded()
{
    QMutexLocker locker(&m_mutex);
    return m_totalUploaded;
}
