#include "crypto/zliberrorstring.h"

#include <zlib.h>

QString zLibErrorString(int code)
{
    switch (code) {
    case Z_STREAM_ERROR:
        return QStringLiteral("invalid compression level");
    case Z_DATA_ERROR:
        return QStringLiteral("invalid or incomplete deflate data");
    case Z_MEM_ERROR:
        return QStringLiteral("out of memory");
    case Z_VERSION_ERROR:
        return QStringLiteral("zlib version mismatch");
    default:
        return QStringLiteral("Unknown error");
    }
}
