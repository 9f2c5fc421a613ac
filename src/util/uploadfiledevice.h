#ifndef UPLOADFILEDEVICE_H
#define UPLOADFILEDEVICE_H

#include <QFile>

// The body of an upload read from a file: exactly the length measured when the
// device was made, never more. A file that is changed or cut after it was
// measured fails the read before its last bytes go, so that the store never
// completes an object that mixes two versions. (A file replaced by a rename is
// read to its end: the open one is still the version measured.)
class UploadFileDevice : public QFile
{
public:
    explicit UploadFileDevice(const QString& path);

    bool open(OpenMode mode) override;
    bool seek(qint64 pos) override;
    qint64 size() const override { return m_measured.size; }
    bool atEnd() const override { return !isOpen() || pos() >= size(); }

    static const QString _changedFile;

protected:
    qint64 readData(char* data, qint64 maxSize) override;

private:
    struct Stamp
    {
        qint64 size = 0;
        qint64 device = -1, inode = -1, seconds = 0, nanoseconds = 0;
        bool operator==(const Stamp& other) const;
    };
    static Stamp stampOf(const QString& path);
    static Stamp stampOf(int handle);

    const Stamp m_measured;
    qint64 m_read = 0;
};

#endif
