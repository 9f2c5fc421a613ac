#include "frontend/quorleop.h"

#include "items/driver.h"
#include "sync/shellsynccontaineroperation.h"

QuorleOp::QuorleOp(OperationGroup* parent, const QString& source, const QString& destination,
                   const SyncJob& job, const TransferSettings& settings, int port)
    : CommandOp(parent, port, reachesStore(source, destination) ? LocalRoots | AccountRoots : Roots(LocalRoots)),
      m_syncJob(job), m_settings(settings),
      m_normalizedSource(Driver::normalizeFolder(source)),
      m_normalizedDestination(Driver::normalizeFolder(destination)), m_source(source), m_destination(destination)
{
}

bool QuorleOp::reachesStore(const QString& source, const QString& destination)
{
    return !Driver::isLocalDisplayPath(source) || !Driver::isLocalDisplayPath(destination);
}

QSharedPointer<AbstractFolder> QuorleOp::resolveFolder(const QString& normalized, const QString& typed)
{
    // Taken as a folder without a look at its kind.
    QSharedPointer<AbstractFolder> folder = itemFromDisplayPath(normalized).staticCast<AbstractFolder>();
    if (!folder)
        setError(OpError(OpError::GeneralError, QString(), tr("Folder '%1' not found").arg(typed), QString()));
    return folder;
}

void QuorleOp::startSync()
{
    // The source is resolved first: when both are wrong only it is named.
    const QSharedPointer<AbstractFolder> source = resolveFolder(m_normalizedSource, m_source);
    if (!source)
        return;
    const QSharedPointer<AbstractFolder> destination = resolveFolder(m_normalizedDestination, m_destination);
    if (!destination)
        return;
    append(new ShellSyncContainerOperation(this, nullptr, source, destination, m_syncJob, m_settings));
}
