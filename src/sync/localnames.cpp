#include "sync/localnames.h"

#include <QChar>

bool isSafeLocalName(QStringView name)
{
    if (name.isEmpty() || name == u"." || name == u"..")
        return false;
    return !name.contains(QChar(0));
}
