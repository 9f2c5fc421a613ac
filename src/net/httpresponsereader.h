#ifndef HTTPRESPONSEREADER_H
#define HTTPRESPONSEREADER_H

#include <QByteArray>

class HttpResponseHeader;
class QIODevice;

// The framing of one response as it comes off the socket: the head's lines up
// to the blank one, then the body by its length, in chunks, or up to the
// connection's close. What the bytes mean is the client's business.
class HttpResponseReader
{
public:
    enum BodyResult {
        BodyRead,  // data holds what came; complete says whether that was all
        BodyWait,  // nothing to do until more arrives
        BodyInvalid  // the chunk framing is broken
    };

    // Forgets the last response: a new head is due.
    void reset();
    // Takes head lines; true once the blank line is in, and head() holds them.
    bool readHead(QIODevice* socket);
    // The head read, which the reader then forgets.
    QByteArray takeHead();
    // After a final head: how its body is framed.
    void beginBody(const HttpResponseHeader& head);
    // done: the body bytes the owner has taken; buffered: those still waiting
    // for it. wholeOnly: a body only drained before a resend is taken in one piece.
    BodyResult readBody(QIODevice* socket, const HttpResponseHeader& head, qint64 done, qint64 buffered,
                        bool wholeOnly, QByteArray& data, bool& complete);

private:
    BodyResult readChunks(QIODevice* socket, QByteArray& data, bool& complete);

    QByteArray m_head;
    // -1 not chunked or done, 0 size line due, -2 in the trailer, else bytes left.
    qint64 m_chunkedSize = -1;
};

#endif
