#include "items/filteritem.h"

#include "items/abstractfile.h"

namespace {

// Only files and folders have a name and a path to match.
bool hasPath(const QSharedPointer<AbstractItem>& item)
{
    return item && item->nodeType() != AbstractItem::VirtualFolderNode;
}

QString itemName(const QSharedPointer<AbstractItem>& item)
{
    if (item->nodeType() == AbstractItem::FileNode)
        return item.staticCast<AbstractFile>()->name();
    return item.staticCast<AbstractFolder>()->name();
}

QString itemPath(const QSharedPointer<AbstractItem>& item)
{
    if (item->nodeType() == AbstractItem::FileNode)
        return item.staticCast<AbstractFile>()->path();
    return item.staticCast<AbstractFolder>()->path();
}

} // namespace

RegExpFilterItem::RegExpFilterItem(Directive directive, const QRegExp& regExp)
    : AbstractFilterItem(directive), m_regExp(regExp)
{
}

QRegExp RegExpFilterItem::regExp() const { return lockedRead(m_mutex, m_regExp); }

bool RegExpFilterItem::exactMatch(const QString& text) const
{
    FastMutexLocker locker(m_mutex);
    return m_regExp.exactMatch(text);
}

QString FileNameFilterItem::filterName() const
{
    return QStringLiteral("File name");
}

bool FileNameFilterItem::match(const QSharedPointer<AbstractItem>& item) const
{
    return hasPath(item) && exactMatch(itemName(item));
}

QString FilePathFilterItem::filterName() const
{
    return QStringLiteral("File path");
}

bool FilePathFilterItem::match(const QSharedPointer<AbstractItem>& item) const
{
    return hasPath(item) && exactMatch(itemPath(item));
}
