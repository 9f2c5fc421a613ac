#ifndef SAVEFILECOMMIT_H
#define SAVEFILECOMMIT_H

#include <QString>

class QSaveFile;

// Puts a QSaveFile's content in place only if all of it reached the disk.
// QSaveFile::commit() alone renames an empty file into place when its buffer
// fails to flush (a full disk): that would be a file reported as copied with
// none of its bytes. On failure the temporary file is discarded and reason says why.
bool commitSaveFile(QSaveFile& file, QString* reason);

#endif
