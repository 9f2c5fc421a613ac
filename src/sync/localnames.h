#ifndef LOCALNAMES_H
#define LOCALNAMES_H

#include <QStringView>

// Whether a name taken from an object key may become one segment of a local
// path below the destination folder. An empty name (a leading or doubled
// delimiter), ".", ".." or a NUL would make the path land elsewhere, or
// not be the object's path at all.
bool isSafeLocalName(QStringView name);

#endif
