#ifndef SHELLDELETEFILEOPERATION_H
#define SHELLDELETEFILEOPERATION_H

#include <QSharedPointer>

#include "items/abstractfile.h"
#include "operations/abstractshelloperation.h"

// Deletes one file, on either side.
class ShellDeleteFileOperation : public AbstractShellOperation
{
    Q_DECLARE_TR_FUNCTIONS(ShellDeleteFileOperation)

public:
    ShellDeleteFileOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& file, bool allVersions);

    int type() const override { return ShellDeleteFileType; }
    QString name() const override { return tr("Delete"); }
    QString sourceDisplayPath() const override { return file->displayPath(); }
    QString destinationDisplayPath() const override { return QString(); }
    bool isEffectiveOperation() const override { return true; }

    QSharedPointer<AbstractFile> file;
    bool allVersions;
};

#endif
