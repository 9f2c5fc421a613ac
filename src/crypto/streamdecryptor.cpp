#include "crypto/streamdecryptor.h"

#include <QMutex>

namespace {
QMutex global_factoryMutex;
StreamDecryptor::Factory global_factory;
} // namespace

QSharedPointer<StreamDecryptor> StreamDecryptor::create()
{
    QMutexLocker locker(&global_factoryMutex);
    return global_factory ? global_factory() : QSharedPointer<StreamDecryptor>();
}

void StreamDecryptor::setFactory(const Factory& factory)
{
    QMutexLocker locker(&global_factoryMutex);
    global_factory = factory;
}
