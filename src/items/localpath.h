#ifndef LOCALPATH_H
#define LOCALPATH_H

#include <QStringView>

#include "items/abstractlocalcontainer.h"

// The full path of a local entry and the length of its name at the path's
// end. The name is no string of its own: a listing of thousands of entries
// costs one string an entry.
struct LocalPath
{
    QString path;
    int nameLength = 0;

    // The entry called name directly inside parent.
    static LocalPath under(const AbstractLocalContainer& parent, const QString& name)
    {
        return {AbstractLocalContainer::concatPath(parent.delimiter(), parent.path(), name),
                int(name.size())};
    }

    QStringView nameRef() const { return QStringView(path).right(nameLength); }
};

#endif
