#ifndef GETFILTER_H
#define GETFILTER_H

#include <QSharedPointer>
#include <QString>

#include "items/filteritem.h"

// The filter item of one option such as "--exclude-ci-wildcard-filename" and
// its value, or a null pointer when the option is not well formed. The parts
// after the leading "--" may come in any order, a later one overriding an
// earlier one of its kind; unnamed kinds default to an exclusion by
// case-sensitive wildcard on the file name. The pattern itself is taken as
// it is.
QSharedPointer<AbstractFilterItem> getFilter(const QString& option, const QString& value);

#endif
