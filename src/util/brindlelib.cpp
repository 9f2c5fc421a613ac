#include "util/brindlelib.h"

#include "util/fastmutex.h"

namespace {
FastMutex global_timeOffsetMutex;
int global_timeOffset = 0;
} // namespace

int BrindleLib::timeOffset()
{
    FastMutexLocker locker(global_timeOffsetMutex);
    return global_timeOffset;
}

void BrindleLib::setTimeOffset(int seconds)
{
    FastMutexLocker locker(global_timeOffsetMutex);
    global_timeOffset = seconds;
}

QString BrindleLib::printable(const QString& text)
{
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        if (c == QLatin1Char('\n'))
            out += QStringLiteral("\\n");
        else if (c == QLatin1Char('\r'))
            out += QStringLiteral("\\r");
        else if (c == QLatin1Char('\t'))
            out += QStringLiteral("\\t");
        else if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            out += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            out += c;
    }
    return out;
}
