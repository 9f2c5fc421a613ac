// The MD5 of a large file through LocalMd5AtomicOperation, with the time it
// takes and the peak memory of the process before and after. The point is
// constant memory: the peak must not grow with the size of the file.
//
//   bench_md5 [file]      hashes file, or a fresh 1 GiB file in a temporary folder

#include <cstdio>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "items/drive.h"
#include "items/localfile.h"
#include "items/mycomputer.h"
#include "operations/localmd5atomicoperation.h"
#include "operations/localoperationrunner.h"

namespace {

// Peak resident set size of this process, in KiB.
qint64 peakRssKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

// Writes size bytes of a repeating, non-zero pattern, in pieces.
bool writeFile(const QString& path, qint64 size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QByteArray block(1 << 20, '\0');
    for (int i = 0; i < block.size(); ++i)
        block[i] = char(i * 131 + 7);
    for (qint64 left = size; left > 0; left -= block.size()) {
        if (file.write(block.constData(), qMin<qint64>(left, block.size())) < 0)
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    QString path = app.arguments().value(1);
    if (path.isEmpty()) {
        path = dir.filePath(QStringLiteral("one-gib"));
        std::printf("writing a 1 GiB file to %s\n", qPrintable(path));
        if (!writeFile(path, qint64(1) << 30)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
            return 1;
        }
    }
    const QFileInfo info(path);
    const auto drive = QSharedPointer<Drive>::create(QLatin1Char('/'), info.absolutePath(),
                                                     QSharedPointer<MyComputer>());
    LocalMd5AtomicOperation op(nullptr, QSharedPointer<LocalFile>::create(drive, info.fileName()));

    const qint64 peakBefore = peakRssKiB();
    QAtomicInt abortFlag;
    QElapsedTimer timer;
    timer.start();
    LocalOperationRunner(&op, false, &abortFlag).run();
    const qint64 elapsedMs = timer.elapsed();
    const qint64 peakAfter = peakRssKiB();

    if (!op.error().isNull()) {
        std::fprintf(stderr, "%s\n", qPrintable(op.error().message()));
        return 1;
    }
    const double mib = double(info.size()) / (1 << 20);
    std::printf("file      %s (%.0f MiB)\n", qPrintable(path), mib);
    std::printf("md5       %s\n", op.md5.toHex().constData());
    std::printf("time      %lld ms (%.0f MiB/s)\n", elapsedMs, elapsedMs > 0 ? mib * 1000 / elapsedMs : 0.0);
    std::printf("peak RSS  %lld KiB before, %lld KiB after: %+lld KiB\n", peakBefore, peakAfter,
                peakAfter - peakBefore);
    return 0;
}
