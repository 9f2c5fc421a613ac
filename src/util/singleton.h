#ifndef SINGLETON_H
#define SINGLETON_H

#include <QObject>

// A process-wide object of class T, made on first use and kept to the end of
// the process. T derives from Singleton<T> and makes it a friend so that the
// constructor can stay private. The first call must come before other threads
// use it, as for any object of the start-up phase.
template <typename T>
class Singleton : public QObject
{
public:
    static T* instance()
    {
        static T object;
        return &object;
    }

protected:
    Singleton() = default;
};

#endif
