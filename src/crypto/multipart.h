#ifndef MULTIPART_H
#define MULTIPART_H

#include <QSharedDataPointer>
#include <QString>
#include <QtGlobal>

// The multipart setting of an upload: above the threshold a file goes up in
// parts, several at once, so that its size is no longer bounded by one PUT
// and a failure costs one part rather than the whole file.
class Multipart
{
public:
    enum Directive { DefaultDirective = 0, UseMultipart = 1 };

    // Stores refuse parts below 5 MiB (but the last), and 10,000 parts at most.
    static constexpr qint64 _minimumThreshold = Q_INT64_C(5) * 1024 * 1024;
    static constexpr qint64 _minimumPartSize = Q_INT64_C(8) * 1024 * 1024;
    static constexpr qint64 _defaultThreshold = Q_INT64_C(1024) * 1024 * 1024;
    static constexpr int _maximumPartCount = 10000;
    // The largest object that one PUT, or one copy, may make.
    static constexpr qint64 _maximumSinglePut = Q_INT64_C(5) * 1024 * 1024 * 1024;

    // No shared data until a setter runs.
    Multipart();
    Multipart(const Multipart& other);
    Multipart& operator=(const Multipart& other);
    ~Multipart();

    Directive directive() const;
    qint64 partSize() const;
    void setDirective(Directive directive);
    void setPartSize(qint64 size);
    qint64 threshold() const;
    void setThreshold(qint64 threshold);
    // How many parts of one file may be on the wire at once.
    int partsInFlight() const;
    void setPartsInFlight(int count);

    // True when an upload of size bytes goes in parts.
    bool appliesTo(qint64 size) const;

    // The part size for an object of total bytes: a whole number of MiB, at
    // least _minimumPartSize, and large enough for _maximumPartCount parts.
    static qint64 partSizeFor(qint64 total);
    static int partCount(qint64 total, qint64 partSize);
    // Offset and length of part number (from 1) of an object of total bytes.
    static qint64 partOffset(int number, qint64 partSize);
    static qint64 partLength(int number, qint64 total, qint64 partSize);
    // The most that the encoder may write for plain bytes: parts cut while it
    // still runs are sized by this, so that its output fits in the part limit.
    static qint64 encodedSizeBound(qint64 plain, bool compressed, bool encrypted);

    // "123", "64K", "64M", "5G", "1T" (binary units, either case); -1 when
    // the text is no size.
    static qint64 parseSize(const QString& text);

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
