#ifndef TIMEOFFSET_H
#define TIMEOFFSET_H

#include <QDateTime>
#include <QObject>
#include <QThread>

// Reads the "Date" of the reference web server with one HEAD request, in a thread
// with its own event loop.
class TimeOffsetThread : public QThread
{
    Q_OBJECT
public:
    explicit TimeOffsetThread(QObject* parent = nullptr);

    // Null if no answer with a readable date came.
    QDateTime dateTime() const { return m_dateTime; }

    // host[:port] from QUORLE_TIME_REFERENCE, else the default store's web server.
    static QString referenceHost();
    static int referencePort();

public Q_SLOTS:
    void httpDone(bool error);

protected:
    void run() override;

private:
    QDateTime m_dateTime;
};

// One measurement of the distance between the local clock and the reference's.
class TimeOffset : public QObject
{
    Q_OBJECT
public:
    explicit TimeOffset(QObject* parent = nullptr);

    // Blocks until the measurement is done. A failed one leaves the offset at 0.
    void execute();
    // Seconds, remote less local: positive when the local clock is slow.
    int timeOffset() const { return m_timeOffset; }

    // The mean of three measurements, truncated towards zero; failures count as 0.
    // The caller stores it with BrindleLib::setTimeOffset.
    static int computeTimeOffset();
    // The offset from a store's own refusal: its <ServerTime>, else its "Date".
    // False when neither gives a time.
    static bool offsetFromAnswer(const QByteArray& errorDocument, const QByteArray& dateField, int* offset);

private:
    TimeOffsetThread m_thread;
    int m_timeOffset = 0;
};

// Reads the three forms of an HTTP date (RFC 1123, RFC 850, asctime), always as UTC.
// An unreadable text gives an invalid QDateTime.
QDateTime fromHttpDate(const QString& text);

#endif
