#ifndef QUORLEOP_H
#define QUORLEOP_H

#include "cloud/transfersettings.h"
#include "frontend/commandop.h"
#include "sync/syncjob.h"

// The root of a sync run: once the roots are listed it resolves the two
// paths and appends the sync of the two folders.
class QuorleOp : public CommandOp
{
    Q_DECLARE_TR_FUNCTIONS(QuorleOp)

public:
    QuorleOp(OperationGroup* parent, const QString& source, const QString& destination, const SyncJob& job,
             const TransferSettings& settings, int port);

    QString name() const override { return QStringLiteral("quorle"); }

    // False for two local folders: such a run lists no account and sends
    // no request at all.
    static bool reachesStore(const QString& source, const QString& destination);

protected:
    void rootsListed() override { startSync(); }

private:
    QSharedPointer<AbstractFolder> resolveFolder(const QString& normalized, const QString& typed);
    void startSync();

    SyncJob m_syncJob;
    TransferSettings m_settings;
    QString m_normalizedSource;
    QString m_normalizedDestination;
    QString m_source;
    QString m_destination;
};

#endif
