#ifndef OVERWRITECONFIRMOPERATION_H
#define OVERWRITECONFIRMOPERATION_H

#include <QMetaType>

#include "operations/abstractoperation.h"
#include "util/brindlelib.h"

// The question whether to overwrite a target. Nobody is asked in this tool:
// the scheduler copies the group's mode into it.
class OverwriteConfirmOperation : public AbstractOperation
{
public:
    int type() const override { return OverwriteConfirmType; }
    QString name() const override { return QString(); }

    BrindleLib::OverwriteMode overwriteMode() const
    {
        FastMutexLocker locker(m_modeMutex);
        return m_mode;
    }
    void setOverwriteMode(BrindleLib::OverwriteMode mode)
    {
        FastMutexLocker locker(m_modeMutex);
        m_mode = mode;
    }

private:
    BrindleLib::OverwriteMode m_mode = BrindleLib::OverwriteAsk;
    mutable FastMutex m_modeMutex;
};

Q_DECLARE_METATYPE(OverwriteConfirmOperation*)

#endif
