#ifndef QUORLECOMMAND_H
#define QUORLECOMMAND_H

#include "frontend/command.h"
#include "sync/syncjob.h"

// The sync command: the only command of this tool.
class QuorleCommand : public Command
{
    Q_OBJECT

public:
    QuorleCommand();

    void setSource(const QString& source) { m_source = source; }
    void setDestination(const QString& destination) { m_destination = destination; }
    QString source() const { return m_source; }
    QString destination() const { return m_destination; }
    void setSyncJob(const SyncJob& job) { m_syncJob = job; }

    // Builds the root operation and hands it to the scheduler; the work is
    // done in the event loop.
    void start();

public Q_SLOTS:
    void showHelp() override;
    void showVersion() override;

protected:
    int accountPort() const override;
    bool needsStore(const QStringList& rest) const override;

private:
    AbstractAccount::Provider chooseProvider() const;

    QString m_source;
    QString m_destination;
    SyncJob m_syncJob;
};

#endif
