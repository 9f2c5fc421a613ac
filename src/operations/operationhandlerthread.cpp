#include "operations/operationhandlerthread.h"

#include "crypto/opensslloader.h"
#include "operations/operationhandler.h"

OperationHandlerThread::OperationHandlerThread(QObject* parent)
    : QThread(parent), m_handler(new OperationHandler)
{
    m_handler->moveToThread(this);
}

OperationHandlerThread::~OperationHandlerThread()
{
    // A thread that never ran still owns its handler.
    if (!isRunning())
        delete m_handler;
}

void OperationHandlerThread::run()
{
    exec();
    m_handler->abort();
    delete m_handler;
    m_handler = nullptr;
    // Before wait() returns in the main thread, which may then exit.
    OpenSslLoader::releaseThreadState();
}
