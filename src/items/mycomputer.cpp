#include "items/mycomputer.h"

MyComputer::MyComputer(const MyComputer& other)
    : AbstractVirtualFolder(other), m_displayName(other.displayName())
{
}

QUrl MyComputer::url() const
{
    return QUrl(QStringLiteral("internal_my_computer://") + displayName());
}

QString MyComputer::displayName() const { return lockedRead(m_mutex, m_displayName); }

QSharedPointer<AbstractItem> MyComputer::clone() const
{
    return QSharedPointer<MyComputer>::create(*this);
}

void MyComputer::setDisplayName(const QString& name) { lockedWrite(m_mutex, m_displayName, name); }
