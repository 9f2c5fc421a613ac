#include "frontend/progressreporter.h"

#include <cstdio>
#include <unistd.h>

#include "sync/syncsummary.h"

ProgressReporter::ProgressReporter(QObject* parent)
    : QObject(parent), m_terminal(::isatty(STDERR_FILENO) == 1)
{
    // QUORLE_PROGRESS_INTERVAL (ms) lets tests see many lines in a short run.
    bool set = false;
    const int interval = qEnvironmentVariableIntValue("QUORLE_PROGRESS_INTERVAL", &set);
    m_timer.setInterval(set && interval > 0 ? interval : m_terminal ? 1000 : 5000);
    connect(&m_timer, &QTimer::timeout, this, &ProgressReporter::report);
}

ProgressReporter::~ProgressReporter()
{
    stop();
}

void ProgressReporter::start()
{
    m_timer.start();
}

void ProgressReporter::stop()
{
    m_timer.stop();
    if (m_drawn)
        std::fputs("\r\033[K", stderr);
    m_drawn = false;
    std::fflush(stderr);
}

void ProgressReporter::report()
{
    const SyncSummary& summary = SyncSummary::instance();
    if (!summary.isStarted())
        return;
    const QByteArray line = summary.progressLine().toLocal8Bit();
    if (m_terminal) {
        std::fprintf(stderr, "\r%s\033[K", line.constData());
        m_drawn = true;
    } else {
        std::fprintf(stderr, "%s\n", line.constData());
    }
    std::fflush(stderr);
}
