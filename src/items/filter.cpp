#include "items/filter.h"

#include "items/abstractfile.h"
#include "util/lockeddata.h"

struct Filter::Private : QSharedData
{
    QList<QSharedPointer<AbstractFilterItem>> items;
    mutable FastMutex mutex;
};

Filter::Filter() = default;
Filter::Filter(const Filter& other) = default;
Filter& Filter::operator=(const Filter& other) = default;
Filter::~Filter() = default;

void Filter::append(const QSharedPointer<AbstractFilterItem>& item)
{
    LockedData::modify(d, [&item](Private& data) { data.items.append(item); });
}

int Filter::itemCount() const
{
    return LockedData::inspect(d, [](const Private& data) { return int(data.items.size()); });
}

QSharedPointer<AbstractFilterItem> Filter::itemAt(int index) const
{
    return LockedData::inspect(d, [index](const Private& data) { return data.items.at(index); });
}

bool Filter::isEmpty() const
{
    return itemCount() == 0;
}

QList<QSharedPointer<AbstractFilterItem>> Filter::items() const
{
    return LockedData::read(d, &Private::items);
}

bool Filter::skip(const QSharedPointer<AbstractFile>& file) const
{
    // The items lock themselves while matching; the list is read under the
    // filter's lock and walked outside it, so no two locks are ever held.
    const QList<QSharedPointer<AbstractFilterItem>> list = items();
    const QSharedPointer<AbstractItem> item = file;
    for (const auto& filterItem : list) {
        if (filterItem->directive() == AbstractFilterItem::Exclude && filterItem->match(item))
            return true;
    }
    bool hasInclude = false;
    for (const auto& filterItem : list) {
        if (filterItem->directive() != AbstractFilterItem::Include)
            continue;
        hasInclude = true;
        if (filterItem->match(item))
            return false;
    }
    return hasInclude;
}
