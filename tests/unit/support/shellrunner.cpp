#include "shellrunner.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include "operations/abstractshelloperation.h"
#include "operations/shell.h"

bool runShell(AbstractShellOperation* root, int threads, QList<AbstractShellOperation*>* finished, bool logEnabled)
{
    Shell shell;
    shell.setMaxConcurrentOperations(threads);
    shell.setLogEnabled(logEnabled);
    bool done = false;
    QObject::connect(&shell, &Shell::shellOperationFinished, [&](AbstractShellOperation* op) {
        if (finished)
            finished->append(op);
        if (op == root)
            done = true;
    });
    shell.execute(root);
    QElapsedTimer timer;
    timer.start();
    while (!done && timer.elapsed() < 20000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return done;
}
