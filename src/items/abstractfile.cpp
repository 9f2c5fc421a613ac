#include "items/abstractfile.h"

QSharedPointer<AbstractFolder> AbstractFile::parent() const
{
    FastMutexLocker locker(m_mutex);
    return m_parent;
}
