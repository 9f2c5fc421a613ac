#include "items/abstracts3folder.h"

AbstractS3Folder::AbstractS3Folder(const AbstractS3Folder& other)
    : AbstractFolder(other), m_owner(other.AbstractS3Folder::owner())
{
}

QSharedPointer<AbstractUser> AbstractS3Folder::owner() const { return lockedRead(m_mutex, m_owner); }
void AbstractS3Folder::setOwner(const QSharedPointer<AbstractUser>& owner) { lockedWrite(m_mutex, m_owner, owner); }
