#ifndef FILESLICEDEVICE_H
#define FILESLICEDEVICE_H

#include <QFile>
#include <QIODevice>

// A read-only window of a file: the body of one part of a multipart upload,
// read straight from the file so that no part is ever held in memory.
class FileSliceDevice : public QIODevice
{
public:
    FileSliceDevice(const QString& path, qint64 offset, qint64 length);

    bool open(OpenMode mode) override;
    void close() override;
    bool isSequential() const override { return false; }
    qint64 size() const override { return m_length; }
    bool seek(qint64 pos) override;

    static const QString _shorterFile;

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QFile m_file;
    const qint64 m_offset;
    const qint64 m_length;
};

#endif
