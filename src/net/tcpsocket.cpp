#include "net/tcpsocket.h"

#include <QAtomicInt>

#include "net/httpstats.h"

namespace {
QAtomicInt global_inactivityTimeout = 30000;
}

SocketActivity::SocketActivity(QIODevice* socket)
{
    m_timer.setSingleShot(true);
    // Qt keeps received bytes in the device's own buffer, filled without readData,
    // so the arrival of data is the socket's read.
    QObject::connect(socket, &QIODevice::readyRead, &m_timer, [this] { restart(); });
    restart();
}

qint64 SocketActivity::noteRead(qint64 bytes)
{
    if (bytes > 0)
        global_httpStats.addDownloadedBytes(bytes);
    restart();
    return bytes;
}

qint64 SocketActivity::noteWrite(qint64 bytes)
{
    if (bytes > 0)
        global_httpStats.addUploadedBytes(bytes);
    restart();
    return bytes;
}

void SocketActivity::restart()
{
    m_timer.start(inactivityTimeout());
}

int SocketActivity::inactivityTimeout()
{
    return global_inactivityTimeout.loadRelaxed();
}

void SocketActivity::setInactivityTimeout(int ms)
{
    global_inactivityTimeout.storeRelaxed(ms);
}

TcpSocket::TcpSocket(QObject* parent) : QTcpSocket(parent), m_activity(this)
{
    connect(&m_activity.timer(), &QTimer::timeout, this, &TcpSocket::timeout);
}

qint64 TcpSocket::readData(char* data, qint64 maxSize)
{
    return m_activity.noteRead(QTcpSocket::readData(data, maxSize));
}

qint64 TcpSocket::readLineData(char* data, qint64 maxSize)
{
    return m_activity.noteRead(QTcpSocket::readLineData(data, maxSize));
}

qint64 TcpSocket::writeData(const char* data, qint64 size)
{
    return m_activity.noteWrite(QTcpSocket::writeData(data, size));
}

SslSocket::SslSocket(QObject* parent) : QSslSocket(parent), m_activity(this)
{
    connect(&m_activity.timer(), &QTimer::timeout, this, &SslSocket::timeout);
}

qint64 SslSocket::readData(char* data, qint64 maxSize)
{
    return m_activity.noteRead(QSslSocket::readData(data, maxSize));
}

qint64 SslSocket::readLineData(char* data, qint64 maxSize)
{
    return m_activity.noteRead(QSslSocket::readLineData(data, maxSize));
}

qint64 SslSocket::writeData(const char* data, qint64 size)
{
    return m_activity.noteWrite(QSslSocket::writeData(data, size));
}
