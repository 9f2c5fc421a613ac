#include "operations/copylocalfiletolocalatomicoperation.h"

CopyLocalFileToLocalAtomicOperation::CopyLocalFileToLocalAtomicOperation(
    OperationGroup* parent, const QSharedPointer<AbstractFile>& source,
    const QSharedPointer<AbstractLocalContainer>& destinationFolder, bool move,
    const QString& destinationName)
    : source(source), destinationFolder(destinationFolder), move(move), destinationName(destinationName)
{
    setParent(parent);
}

CopyLocalFileToLocalAtomicOperation* CopyLocalFileToLocalAtomicOperation::clone(OperationGroup* parent) const
{
    return new CopyLocalFileToLocalAtomicOperation(parent, source, destinationFolder, move, destinationName);
}
