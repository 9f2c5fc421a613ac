#include "net/httpresponsebuffer.h"

#include <cstring>

void HttpResponseBuffer::append(const QByteArray& data)
{
    if (data.isEmpty())
        return;
    // An empty buffer shares the bytes rather than copying them: a body read
    // as fast as it comes passes through without a copy.
    if (m_total == 0) {
        m_blocks = { data };
        m_readPos = 0;
        m_writePos = int(data.size());
        m_total = m_writePos;
        return;
    }
    std::memcpy(reserve(int(data.size())), data.constData(), size_t(data.size()));
}

QByteArray HttpResponseBuffer::takeAll()
{
    if (m_total > 0 && m_blocks.count() == 1 && m_readPos == 0 && m_writePos == m_blocks.first().size()) {
        const QByteArray all = m_blocks.first();
        clear();
        return all;
    }
    QByteArray all(m_total, Qt::Uninitialized);
    read(all.data(), m_total);
    return all;
}

char* HttpResponseBuffer::reserve(int n)
{
    char* room = nullptr;
    if (m_total == 0) {
        m_blocks = { QByteArray(qMax(int(BlockSize), n), Qt::Uninitialized) };
        m_readPos = 0;
        m_writePos = 0;
        room = m_blocks.last().data();
    } else {
        QByteArray& last = m_blocks.last();
        if (last.size() - m_writePos >= n) {
            room = last.data() + m_writePos;
        } else if (m_writePos < last.size() / 2) {
            // Mostly empty: grow it rather than start a new block.
            last.resize(m_writePos + n);
            room = last.data() + m_writePos;
        } else {
            last.resize(m_writePos);
            m_blocks.append(QByteArray(qMax(int(BlockSize), n), Qt::Uninitialized));
            m_writePos = 0;
            room = m_blocks.last().data();
        }
    }
    m_writePos += n;
    m_total += n;
    return room;
}

int HttpResponseBuffer::readableInFirstBlock() const
{
    const int end = m_blocks.count() == 1 ? m_writePos : int(m_blocks.first().size());
    return end - m_readPos;
}

int HttpResponseBuffer::read(char* data, int n)
{
    n = qMin(n, m_total);
    int done = 0;
    while (done < n) {
        const int piece = qMin(n - done, readableInFirstBlock());
        std::memcpy(data + done, m_blocks.first().constData() + m_readPos, size_t(piece));
        done += piece;
        m_readPos += piece;
        if (readableInFirstBlock() == 0 && m_blocks.count() > 1) {
            m_blocks.removeFirst();
            m_readPos = 0;
        }
    }
    m_total -= n;
    if (m_total == 0) {
        // Keep one empty block for the next response.
        m_readPos = 0;
        m_writePos = 0;
        if (m_blocks.count() > 1)
            m_blocks = { m_blocks.last() };
    }
    return n;
}

void HttpResponseBuffer::clear()
{
    m_blocks.clear();
    m_readPos = 0;
    m_writePos = 0;
    m_total = 0;
}
