#include "items/abstractfile.h"

QSharedPointer<AbstractFolder> AbstractFile::parent() const { return lockedRead(m_mutex, m_parent); }
