#include "net/httpresponsereader.h"

#include <QIODevice>

#include "net/httpheader.h"

void HttpResponseReader::reset()
{
    m_head.clear();
    m_chunkedSize = -1;
}

// Through a small buffer: readLine() without a limit allocates a whole read
// chunk for every line.
bool HttpResponseReader::readHead(QIODevice* socket)
{
    char piece[512];
    bool end = false;
    while (!end && socket->canReadLine()) {
        const qsizetype start = m_head.size();
        qint64 n = 0;
        do {
            n = socket->readLine(piece, sizeof piece);
            if (n > 0)
                m_head.append(piece, n);
        } while (n > 0 && piece[n - 1] != '\n');
        const QByteArrayView line = QByteArrayView(m_head).sliced(start);
        end = line.isEmpty() || line == "\r\n" || line == "\n";
    }
    return end;
}

QByteArray HttpResponseReader::takeHead()
{
    QByteArray head;
    head.swap(m_head);
    return head;
}

void HttpResponseReader::beginBody(const HttpResponseHeader& head)
{
    if (head.field("transfer-encoding").value().toLower().contains("chunked"))
        m_chunkedSize = 0;
}

HttpResponseReader::BodyResult HttpResponseReader::readBody(QIODevice* socket, const HttpResponseHeader& head,
                                                            qint64 done, qint64 buffered, bool wholeOnly,
                                                            QByteArray& data, bool& complete)
{
    qint64 n = socket->bytesAvailable();
    if (m_chunkedSize != -1)
        return readChunks(socket, data, complete);

    if (head.containsContentLength()) {
        const qint64 length = head.contentLength();
        if (wholeOnly && length > n)
            return BodyWait;
        n = qMin(n, length - done);
        if (n > 0)
            data = socket->read(n);
        complete = done + buffered + data.size() == length;
        return BodyRead;
    }

    // No length: only the closing of the connection ends this body.
    if (n == 0)
        return BodyWait;
    data = socket->readAll();
    return BodyRead;
}

HttpResponseReader::BodyResult HttpResponseReader::readChunks(QIODevice* socket, QByteArray& data, bool& complete)
{
    for (;;) {
        if (m_chunkedSize == 0) {
            if (!socket->canReadLine())
                break;
            QByteArray sizeLine = socket->readLine();
            const int semicolon = int(sizeLine.indexOf(';'));
            if (semicolon >= 0)
                sizeLine.truncate(semicolon);
            bool ok = false;
            const qint64 size = sizeLine.trimmed().toLongLong(&ok, 16);
            if (!ok || size < 0)
                return BodyInvalid;
            m_chunkedSize = size == 0 ? -2 : size;
        }
        while (m_chunkedSize == -2 && socket->canReadLine()) {
            const QByteArray line = socket->readLine();
            if (line == "\r\n" || line == "\n")
                m_chunkedSize = -1;
        }
        if (m_chunkedSize == -1) {
            complete = true;
            break;
        }
        if (m_chunkedSize == -2)
            break;  // the rest of the trailer is still on its way

        qint64 n = socket->bytesAvailable();
        if (n == 0)
            break;
        if (n == m_chunkedSize || n == m_chunkedSize + 1) {
            // The closing CR LF is not in yet: keep one byte back until it is.
            n = m_chunkedSize - 1;
            if (n == 0)
                break;
        }
        const QByteArray piece = socket->read(qMin(n, m_chunkedSize));
        data += piece;
        m_chunkedSize -= piece.size();
        if (m_chunkedSize == 0 && n - piece.size() >= 2) {
            char crlf[2];
            if (socket->read(crlf, 2) != 2 || crlf[0] != '\r' || crlf[1] != '\n')
                return BodyInvalid;
        }
    }
    return BodyRead;
}
