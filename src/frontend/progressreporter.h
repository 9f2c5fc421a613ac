#ifndef PROGRESSREPORTER_H
#define PROGRESSREPORTER_H

#include <QObject>
#include <QTimer>

// The progress line of a sync on standard error: redrawn in place every
// second on a terminal, a new line every few seconds otherwise, so that a
// log file gets a readable trace.
class ProgressReporter : public QObject
{
    Q_OBJECT

public:
    explicit ProgressReporter(QObject* parent = nullptr);
    ~ProgressReporter() override;

    void start();
    // Clears a line drawn in place, so that what follows starts clean.
    void stop();

private:
    void report();

    QTimer m_timer;
    bool m_terminal;
    bool m_drawn = false;
};

#endif
