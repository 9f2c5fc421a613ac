#ifndef OPERATIONHANDLERTHREAD_H
#define OPERATIONHANDLERTHREAD_H

#include <QThread>

class OperationHandler;

// The thread of one handler: the handler lives here and is deleted here.
class OperationHandlerThread : public QThread
{
    Q_OBJECT

public:
    explicit OperationHandlerThread(QObject* parent = nullptr);
    ~OperationHandlerThread() override;

    OperationHandler* handler() const { return m_handler; }

protected:
    void run() override;

private:
    OperationHandler* m_handler;
};

#endif
