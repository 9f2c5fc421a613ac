#ifndef FASTMUTEX_H
#define FASTMUTEX_H

#include <pthread.h>

// A plain, non-recursive pthread mutex with no checks and no time-outs.
// Each shared object carries one; a copy of its owner gets a fresh one,
// never a share of the original lock.
class FastMutex
{
public:
    FastMutex() { pthread_mutex_init(&m_mutex, nullptr); }
    FastMutex(const FastMutex&) : FastMutex() {}
    FastMutex& operator=(const FastMutex&) { return *this; }
    ~FastMutex() { pthread_mutex_destroy(&m_mutex); }

    void lock() { pthread_mutex_lock(&m_mutex); }
    void unlock() { pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t m_mutex;
};

// Scope guard for a FastMutex.
class FastMutexLocker
{
public:
    explicit FastMutexLocker(FastMutex& mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~FastMutexLocker() { m_mutex.unlock(); }
    FastMutexLocker(const FastMutexLocker&) = delete;
    FastMutexLocker& operator=(const FastMutexLocker&) = delete;

private:
    FastMutex& m_mutex;
};

// One field read or written under its object's lock: the accessors of the
// shared items and operations are nothing more than this.
template <typename T>
T lockedRead(FastMutex& mutex, const T& field)
{
    FastMutexLocker locker(mutex);
    return field;
}

template <typename T, typename V>
void lockedWrite(FastMutex& mutex, T& field, const V& value)
{
    FastMutexLocker locker(mutex);
    field = value;
}

// A value kept under the lock once built. The build runs outside the lock,
// because it may take the locks of other objects (the account, the parent).
template <typename T, typename Build>
T lockedCache(FastMutex& mutex, T& cache, Build build)
{
    {
        FastMutexLocker locker(mutex);
        if (!cache.isEmpty())
            return cache;
    }
    const T built = build();
    FastMutexLocker locker(mutex);
    cache = built;
    return cache;
}

#endif
