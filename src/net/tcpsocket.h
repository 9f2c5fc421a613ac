#ifndef TCPSOCKET_H
#define TCPSOCKET_H

#include <QSslSocket>
#include <QTcpSocket>
#include <QTimer>

// The inactivity watch shared by the two socket kinds: a single-shot timer that
// each read or write at the socket restarts, and the byte counts of HttpStats.
class SocketActivity
{
public:
    explicit SocketActivity(QIODevice* socket);

    QTimer& timer() { return m_timer; }
    // Both give back the count they were handed, so an override is one line.
    qint64 noteRead(qint64 bytes);
    qint64 noteWrite(qint64 bytes);
    void restart();

    // 30 s in the product; tests shorten it.
    static int inactivityTimeout();
    static void setInactivityTimeout(int ms);

private:
    QTimer m_timer;
};

// A plain socket that reports timeout() after a stretch without reads or writes.
class TcpSocket : public QTcpSocket
{
    Q_OBJECT
public:
    explicit TcpSocket(QObject* parent = nullptr);

Q_SIGNALS:
    void timeout();

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 readLineData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    SocketActivity m_activity;
};

// The TLS twin of TcpSocket; also used for connections in the clear.
class SslSocket : public QSslSocket
{
    Q_OBJECT
public:
    explicit SslSocket(QObject* parent = nullptr);

Q_SIGNALS:
    void timeout();

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 readLineData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    SocketActivity m_activity;
};

#endif
