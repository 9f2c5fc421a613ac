#ifndef ABSTRACTFILE_H
#define ABSTRACTFILE_H

#include <QDateTime>
#include <QStringView>

#include "items/abstractfolder.h"
#include "util/fastmutex.h"

// A file or an object. It holds its parent folder strongly, so that a file
// out of a listing keeps the folder chain above it alive.
class AbstractFile : public AbstractItem
{
public:
    NodeType nodeType() const override { return FileNode; }
    bool isReadOnly() const override { return false; }
    bool isRootItem() const override { return false; }
    bool isSelectable() const override { return true; }
    bool isDeletable() const override { return true; }

    virtual QString path() const = 0;
    virtual QDateTime lastModified() const = 0;
    virtual qint64 size() const = 0;
    virtual QString name() const = 0;
    // A view into the stored path: comparing names allocates nothing. Valid
    // as long as the item lives.
    virtual QStringView nameRef() const = 0;
    virtual QSharedPointer<AbstractFolder> rootItem() const = 0;

    QSharedPointer<AbstractFolder> parent() const;

protected:
    explicit AbstractFile(const QSharedPointer<AbstractFolder>& parent) : m_parent(parent) {}
    AbstractFile(const AbstractFile& other) : AbstractItem(other), m_parent(other.parent()) {}
    AbstractFile& operator=(const AbstractFile&) = delete;

    // Guards the fields of the concrete file.
    mutable FastMutex m_mutex;

private:
    const QSharedPointer<AbstractFolder> m_parent;
};

#endif
