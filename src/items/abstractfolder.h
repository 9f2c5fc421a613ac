#ifndef ABSTRACTFOLDER_H
#define ABSTRACTFOLDER_H

#include <QChar>

#include "items/abstractcontainer.h"

// A container with a path: a drive, a local folder, a bucket, a cloud folder.
class AbstractFolder : public AbstractContainer
{
public:
    NodeType nodeType() const override { return FolderNode; }
    bool isVirtual() const override { return false; }

    virtual QString path() const = 0;
    // Fixed at construction; the same for a whole chain of folders.
    virtual QChar delimiter() const { return m_delimiter; }
    virtual QString name() const = 0;
    // The topmost folder of the chain: the drive or the bucket.
    virtual QSharedPointer<AbstractFolder> rootItem() const = 0;
    // Whether source may be copied into this folder. Items with equal URLs
    // count as the same item.
    virtual bool acceptCopyFrom(const QSharedPointer<AbstractItem>& source) const;

protected:
    explicit AbstractFolder(QChar delimiter) : m_delimiter(delimiter) {}

private:
    const QChar m_delimiter;
};

#endif
