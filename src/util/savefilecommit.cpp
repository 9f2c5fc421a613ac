#include "util/savefilecommit.h"

#include <QSaveFile>

bool commitSaveFile(QSaveFile& file, QString* reason)
{
    if (!file.flush()) {
        *reason = file.errorString();
        file.cancelWriting();
        file.commit(); // discards the temporary file
        return false;
    }
    if (file.commit())
        return true;
    *reason = file.errorString();
    return false;
}
