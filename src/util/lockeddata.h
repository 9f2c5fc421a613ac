#ifndef LOCKEDDATA_H
#define LOCKEDDATA_H

#include <QSharedDataPointer>

#include "util/fastmutex.h"

// Access to the implicitly shared private data of a value class, under the
// data's own `mutable FastMutex mutex`. Absent data reads as a
// default-constructed private; the first write creates it, and a write to
// shared data detaches first.
namespace LockedData {

template <typename P>
const P& defaults()
{
    static const P value;
    return value;
}

// Calls fn(const P&) with the data locked and returns what it returns.
template <typename P, typename Fn>
auto inspect(const QSharedDataPointer<P>& d, Fn fn)
{
    const P& data = d ? *d.constData() : defaults<P>();
    FastMutexLocker locker(data.mutex);
    return fn(data);
}

// Calls fn(P&) on data of this value alone, locked.
template <typename P, typename Fn>
void modify(QSharedDataPointer<P>& d, Fn fn)
{
    if (!d)
        d.reset(new P);
    P* data = d.data();
    FastMutexLocker locker(data->mutex);
    fn(*data);
}

template <typename P, typename F>
F read(const QSharedDataPointer<P>& d, F P::*field)
{
    return inspect(d, [field](const P& data) { return data.*field; });
}

template <typename P, typename F, typename V>
void write(QSharedDataPointer<P>& d, F P::*field, const V& value)
{
    modify(d, [field, &value](P& data) { data.*field = value; });
}

} // namespace LockedData

#endif
