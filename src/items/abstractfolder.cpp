#include "items/abstractfolder.h"

bool AbstractFolder::acceptCopyFrom(const QSharedPointer<AbstractItem>& source) const
{
    if (source.isNull() || isReadOnly())
        return false;
    return source->url() != url();
}
