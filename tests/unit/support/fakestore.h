#ifndef FAKESTORE_H
#define FAKESTORE_H

#include <QList>
#include <QSharedPointer>

#include "items/abstractaccount.h"
#include "scriptedserver.h"

class AbstractBucket;

// A whole HTTP answer with its Content-Length.
QByteArray httpAnswer(int status, const QByteArray& reason = "OK", const QByteArray& body = QByteArray(),
                      const QByteArray& extra = QByteArray());
// The value of the first header line called name, ignoring case.
QByteArray headerValue(const QByteArray& head, const QByteArray& name);

// A bucket of an account of the provider that reaches 127.0.0.1:port in path
// style over plain HTTP, with the published example keys.
QSharedPointer<AbstractBucket> loopbackBucket(int port, const QString& name = QStringLiteral("johnsmith"),
                                              AbstractAccount::Provider provider = AbstractAccount::AmazonS3Provider);

// A store on a loopback port that answers the requests in turn (the last
// answer repeats), sends "100 Continue" when asked to, answers a HEAD
// without body, and keeps what it was sent.
class FakeStore
{
public:
    explicit FakeStore(QList<QByteArray> answers = {httpAnswer(200)});

    quint16 port() const { return m_server.port(); }
    int connections() const { return m_server.connections(); }
    // The request lines, without " HTTP/1.1".
    QList<QByteArray> requests;
    QList<QByteArray> heads;
    QList<QByteArray> bodies;

private:
    void serve(QTcpSocket* socket, QByteArray& in);
    void reply(QTcpSocket* socket);

    QList<QByteArray> m_answers;
    qint64 m_waiting = 0;
    bool m_headRequest = false;
    ScriptedServer m_server;
};

#endif
