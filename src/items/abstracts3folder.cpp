#include "items/abstracts3folder.h"

AbstractS3Folder::AbstractS3Folder(const AbstractS3Folder& other)
    : AbstractFolder(other), m_owner(other.AbstractS3Folder::owner())
{
}

QSharedPointer<AbstractUser> AbstractS3Folder::owner() const
{
    FastMutexLocker locker(m_mutex);
    return m_owner;
}

void AbstractS3Folder::setOwner(const QSharedPointer<AbstractUser>& owner)
{
    FastMutexLocker locker(m_mutex);
    m_owner = owner;
}
