#include "util/uploadfiledevice.h"

#include <sys/stat.h>

const QString UploadFileDevice::_changedFile = QStringLiteral("The file changed while it was being uploaded");

namespace {
template <typename Stamp>
Stamp fromStat(const struct stat& st)
{
    Stamp stamp;
    stamp.size = st.st_size;
    stamp.device = qint64(st.st_dev);
    stamp.inode = qint64(st.st_ino);
    stamp.seconds = st.st_mtim.tv_sec;
    stamp.nanoseconds = st.st_mtim.tv_nsec;
    return stamp;
}
} // namespace

bool UploadFileDevice::Stamp::operator==(const Stamp& other) const
{
    return size == other.size && device == other.device && inode == other.inode && seconds == other.seconds
        && nanoseconds == other.nanoseconds;
}

UploadFileDevice::Stamp UploadFileDevice::stampOf(const QString& path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? fromStat<Stamp>(st) : Stamp();
}

UploadFileDevice::Stamp UploadFileDevice::stampOf(int handle)
{
    struct stat st;
    return ::fstat(handle, &st) == 0 ? fromStat<Stamp>(st) : Stamp();
}

UploadFileDevice::UploadFileDevice(const QString& path)
    : QFile(path), m_measured(stampOf(path))
{
}

bool UploadFileDevice::open(OpenMode mode)
{
    if ((mode & WriteOnly) || !QFile::open(mode))
        return false;
    // Whatever happened to the file since it was measured makes the announced
    // length a guess: an error now, before any byte goes.
    if (!(stampOf(handle()) == m_measured)) {
        close();
        setErrorString(_changedFile);
        return false;
    }
    m_read = 0;
    return true;
}

bool UploadFileDevice::seek(qint64 pos)
{
    if (pos > size() || !QFile::seek(pos))
        return false;
    m_read = pos;
    return true;
}

qint64 UploadFileDevice::readData(char* data, qint64 maxSize)
{
    const qint64 left = size() - m_read;
    if (left <= 0)
        return 0;
    const qint64 n = QFile::readData(data, qMin(maxSize, left));
    if (n < 0)
        return -1;
    m_read += n;
    // Cut short, or complete but not what was measured: the last bytes stay here.
    if (n == 0 || (m_read == size() && !(stampOf(handle()) == m_measured))) {
        setErrorString(_changedFile);
        return -1;
    }
    return n;
}
