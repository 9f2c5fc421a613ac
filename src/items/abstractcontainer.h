#ifndef ABSTRACTCONTAINER_H
#define ABSTRACTCONTAINER_H

#include "items/abstractitem.h"

// Anything that can hold files: a folder with a path, or a virtual folder
// without one (the computer, an account).
class AbstractContainer : public AbstractItem
{
public:
    virtual bool isVirtual() const = 0;
};

#endif
