#include "util/fileslicedevice.h"

const QString FileSliceDevice::_shorterFile = QStringLiteral("The file is shorter than when it was measured");

FileSliceDevice::FileSliceDevice(const QString& path, qint64 offset, qint64 length)
    : m_file(path), m_offset(offset), m_length(length)
{
}

bool FileSliceDevice::open(OpenMode mode)
{
    if ((mode & WriteOnly) || !m_file.open(QIODevice::ReadOnly)) {
        setErrorString(m_file.errorString());
        return false;
    }
    // A file that has shrunk since it was measured can't fill its part.
    if (m_file.size() < m_offset + m_length || !m_file.seek(m_offset)) {
        setErrorString(_shorterFile);
        m_file.close();
        return false;
    }
    return QIODevice::open(mode | Unbuffered);
}

void FileSliceDevice::close()
{
    QIODevice::close();
    m_file.close();
}

bool FileSliceDevice::seek(qint64 pos)
{
    if (pos < 0 || pos > m_length || !m_file.seek(m_offset + pos))
        return false;
    return QIODevice::seek(pos);
}

qint64 FileSliceDevice::readData(char* data, qint64 maxSize)
{
    const qint64 left = m_length - pos();
    if (left <= 0)
        return 0;
    const qint64 n = m_file.read(data, qMin(maxSize, left));
    // A file cut short under the part can't fill it: an error, never a quiet end.
    if (n == 0)
        setErrorString(_shorterFile);
    return n == 0 ? -1 : n;
}
