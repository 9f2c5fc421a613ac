#ifndef SCRIPTEDSERVER_H
#define SCRIPTEDSERVER_H

// A loopback server for staging what a real server would rarely do on cue. Each
// connection's received bytes accumulate in a buffer, and the script is called with
// the socket and that buffer whenever data arrives (and once on accept, with an
// empty buffer). The script consumes what it has handled.

#include <functional>

#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

class ScriptedServer
{
public:
    using Script = std::function<void(QTcpSocket*, QByteArray&)>;

    explicit ScriptedServer(Script script = {}) : m_script(std::move(script))
    {
        m_server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&m_server, &QTcpServer::newConnection, [this] { accept(); });
    }

    ~ScriptedServer()
    {
        for (QTcpSocket* socket : m_server.findChildren<QTcpSocket*>()) {
            socket->disconnect();
            delete socket;
        }
    }

    quint16 port() const { return m_server.serverPort(); }
    int connections() const { return m_connections; }
    int disconnections() const { return m_disconnections; }
    // Every byte received, over all connections.
    QByteArray received() const { return m_received; }

    // Takes one whole request (head and Content-Length body) off the front of in.
    static bool takeRequest(QByteArray& in, QByteArray* head = nullptr, QByteArray* body = nullptr)
    {
        const int end = int(in.indexOf("\r\n\r\n"));
        if (end < 0)
            return false;
        const QByteArray h = in.left(end + 4);
        qint64 length = 0;
        for (const QByteArray& line : h.split('\n')) {
            if (line.toLower().startsWith("content-length:"))
                length = line.mid(15).trimmed().toLongLong();
        }
        if (h.toLower().contains("expect: 100-continue"))
            length = 0;  // the body is the script's business
        if (in.size() < end + 4 + length)
            return false;
        if (head)
            *head = h;
        if (body)
            *body = in.mid(end + 4, length);
        in.remove(0, end + 4 + length);
        return true;
    }

    // Writes the pieces one after another, gapMs apart, then closes if asked.
    static void writeSlowly(QTcpSocket* socket, const QList<QByteArray>& pieces, int gapMs, bool closeAfter = false)
    {
        auto* timer = new QTimer(socket);
        auto index = std::make_shared<int>(0);
        QObject::connect(timer, &QTimer::timeout, socket, [=] {
            if (*index < pieces.size()) {
                socket->write(pieces.at((*index)++));
                socket->flush();
                return;
            }
            timer->stop();
            timer->deleteLater();
            if (closeAfter)
                socket->disconnectFromHost();
        });
        timer->start(gapMs);
    }

private:
    void accept()
    {
        while (QTcpSocket* socket = m_server.nextPendingConnection()) {
            ++m_connections;
            socket->setParent(&m_server);
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                const QByteArray data = socket->readAll();
                m_received += data;
                m_buffers[socket] += data;
                if (m_script)
                    m_script(socket, m_buffers[socket]);
            });
            QObject::connect(socket, &QTcpSocket::disconnected, socket, [this, socket] {
                ++m_disconnections;
                m_buffers.remove(socket);
                socket->deleteLater();
            });
            if (m_script)
                m_script(socket, m_buffers[socket]);
        }
    }

    QTcpServer m_server;
    Script m_script;
    int m_connections = 0;
    int m_disconnections = 0;
    QByteArray m_received;
    QHash<QTcpSocket*, QByteArray> m_buffers;
};

#endif
