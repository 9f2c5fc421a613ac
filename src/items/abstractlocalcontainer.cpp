#include "items/abstractlocalcontainer.h"

bool AbstractLocalContainer::acceptCopyFrom(const QSharedPointer<AbstractItem>& source) const
{
    return AbstractFolder::acceptCopyFrom(source) && source->url() != url();
}

QString AbstractLocalContainer::concatPath(QChar delimiter, const QString& path, const QString& name)
{
    if (path.endsWith(delimiter, Qt::CaseSensitive))
        return path + name;
    return path + delimiter + name;
}
