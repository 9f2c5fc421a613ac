#ifndef DUMMYOPERATION_H
#define DUMMYOPERATION_H

#include "operations/abstractoperation.h"

// Stands for an empty piece of work so that a group with nothing to do
// finishes the ordinary way; never given to a handler.
class DummyOperation : public AbstractOperation
{
public:
    int type() const override { return DummyType; }
    QString name() const override { return QString(); }
};

#endif
