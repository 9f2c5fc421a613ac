#ifndef HTTPRESPONSEBUFFER_H
#define HTTPRESPONSEBUFFER_H

#include <QByteArray>
#include <QList>

// Received body bytes kept as a list of blocks, so that a large response is never
// copied into one array: a read position in the first block, a write position in
// the last one.
class HttpResponseBuffer
{
public:
    void append(const QByteArray& data);
    // Room for n more bytes at the write position.
    char* reserve(int n);
    // Moves up to n bytes out; returns how many.
    int read(char* data, int n);
    // Everything buffered, moved out; a single whole block goes as it is.
    QByteArray takeAll();
    int size() const { return m_total; }
    void clear();

    static const int BlockSize = 4096;

private:
    int readableInFirstBlock() const;

    QList<QByteArray> m_blocks;
    int m_readPos = 0;
    int m_writePos = 0;
    int m_total = 0;
};

#endif
