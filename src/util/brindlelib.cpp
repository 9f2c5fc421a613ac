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
