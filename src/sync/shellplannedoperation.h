#ifndef SHELLPLANNEDOPERATION_H
#define SHELLPLANNEDOPERATION_H

#include "operations/abstractshelloperation.h"

// A decision of the sync that is shown, not carried out: an action of a dry
// run, or an entry left alone because acting on it would be unsafe, whose
// error then names it and makes the run end with exit code 1. Does no work.
class ShellPlannedOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellPlannedOperation)

public:
    // Appends the line of a dry run to `group`.
    static void appendLine(OperationGroup* group, const QString& name, const QString& sourceDisplayPath,
                           const QString& destinationDisplayPath, const QString& reason);
    // Appends a skipped entry to `group`; the error rises from there to the root.
    static void appendSkip(OperationGroup* group, const QString& displayPath, const QString& message);

    QString name() const override { return m_name; }
    QString sourceDisplayPath() const override { return m_source; }
    QString destinationDisplayPath() const override { return m_destination; }
    bool isEffectiveOperation() const override { return true; }
    // "[name] source --> destination (reason)", as the verbose lines go.
    QString planLine() const;

    // The message for an object key whose local path would leave the destination.
    static QString climbingKeyMessage(const QString& key);
    // The message for a source folder whose entries could not be read.
    static QString unreadableFolderMessage(const QString& displayPath, const QString& reason);

private:
    ShellPlannedOperation(const QString& name, const QString& source, const QString& destination,
                          const QString& reason);

    QString m_name;
    QString m_source;
    QString m_destination;
    QString m_reason;
};

#endif
