#ifndef ZLIBERRORSTRING_H
#define ZLIBERRORSTRING_H

#include <QString>

// The message for a zlib return code, as both directions of the pipeline
// report it.
QString zLibErrorString(int code);

#endif
