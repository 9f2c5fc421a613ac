#ifndef FILTER_H
#define FILTER_H

#include <QList>
#include <QSharedDataPointer>
#include <QSharedPointer>

#include "items/filteritem.h"

class AbstractFile;

// The filter options of a run, in command-line order. Only files are ever
// filtered: folders are always walked.
class Filter
{
public:
    // No items: nothing is skipped.
    Filter();
    Filter(const Filter& other);
    Filter& operator=(const Filter& other);
    ~Filter();

    void append(const QSharedPointer<AbstractFilterItem>& item);
    int itemCount() const;
    QSharedPointer<AbstractFilterItem> itemAt(int index) const;
    bool isEmpty() const;

    // Whether file is left out: a matching exclusion wins over any inclusion;
    // with inclusions present a file must match one of them.
    bool skip(const QSharedPointer<AbstractFile>& file) const;

private:
    QList<QSharedPointer<AbstractFilterItem>> items() const;

    struct Private;
    QSharedDataPointer<Private> d;
};

#endif
