#ifndef LOCALDRIVELISTATOMICOPERATION_H
#define LOCALDRIVELISTATOMICOPERATION_H

#include <QByteArray>
#include <QList>
#include <QSharedPointer>

#include "items/abstractfolder.h"
#include "items/mycomputer.h"
#include "operations/abstractlocaloperation.h"

// Lists the roots of the local file system and the removable media mounted
// below /mnt/ and /media/.
class LocalDriveListAtomicOperation : public AbstractLocalOperation
{
    Q_DECLARE_TR_FUNCTIONS(LocalDriveListAtomicOperation)

public:
    LocalDriveListAtomicOperation(OperationGroup* parent, const QSharedPointer<MyComputer>& myComputer);

    QString name() const override { return tr("Drives list"); }
    LocalDriveListAtomicOperation* clone(OperationGroup* parent) const override;
    void run(LocalOperationRunner& runner) override;

    QSharedPointer<MyComputer> myComputer;
    // The mount table to read; another one only in tests.
    QByteArray mountTable = QByteArrayLiteral("/etc/mtab");
    // Result: the root first, then the mount points, no path twice.
    QList<QSharedPointer<AbstractFolder>> drives;
};

#endif
