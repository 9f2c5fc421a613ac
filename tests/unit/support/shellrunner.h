#ifndef SHELLRUNNER_H
#define SHELLRUNNER_H

#include <QList>

class AbstractShellOperation;

// Runs root on a real Shell with `threads` handler threads and the event
// loop until the root has finished (true) or 20 s have passed (false). The
// shell operations that finished are appended to `finished`, in order.
bool runShell(AbstractShellOperation* root, int threads, QList<AbstractShellOperation*>* finished = nullptr,
              bool logEnabled = false);

#endif
