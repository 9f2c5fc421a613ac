#include "sync/shellplannedoperation.h"

#include "util/brindlelib.h"
#include "util/operror.h"

ShellPlannedOperation::ShellPlannedOperation(const QString& name, const QString& source, const QString& destination,
                                             const QString& reason)
    : m_name(name), m_source(source), m_destination(destination), m_reason(reason)
{
}

void ShellPlannedOperation::appendLine(OperationGroup* group, const QString& name, const QString& sourceDisplayPath,
                                       const QString& destinationDisplayPath, const QString& reason)
{
    group->append(new ShellPlannedOperation(name, sourceDisplayPath, destinationDisplayPath, reason));
}

void ShellPlannedOperation::appendSkip(OperationGroup* group, const QString& displayPath, const QString& message)
{
    auto* skip = new ShellPlannedOperation(tr("Skip"), displayPath, QString(), QString());
    group->append(skip);
    skip->setError(OpError(OpError::GeneralError, QString(), message, QString()));
}

QString ShellPlannedOperation::planLine() const
{
    QString line = QLatin1Char('[') + m_name + QStringLiteral("] ") + m_source;
    if (!m_destination.isEmpty())
        line += QStringLiteral(" --> ") + m_destination;
    if (!m_reason.isEmpty())
        line += QStringLiteral(" (") + m_reason + QLatin1Char(')');
    return line;
}

QString ShellPlannedOperation::climbingKeyMessage(const QString& key)
{
    return tr("Object key '%1' would leave the destination folder: skipped").arg(BrindleLib::printable(key));
}

QString ShellPlannedOperation::unreadableFolderMessage(const QString& displayPath, const QString& reason)
{
    return tr("Folder '%1' could not be read (%2): nothing under it is copied or deleted").arg(displayPath, reason);
}
