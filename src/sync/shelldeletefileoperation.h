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

    // What a cloud version or delete marker is, when it is one.
    QString name() const override;
    QString sourceDisplayPath() const override { return file->displayPath(); }
    QString destinationDisplayPath() const override { return QString(); }
    bool isEffectiveOperation() const override { return true; }

    QSharedPointer<AbstractFile> file;
    bool allVersions;
    // What a versioned store reports: the marker laid and the version it hides.
    QSharedPointer<AbstractFile> markerFile;
    QSharedPointer<AbstractFile> previousFile;
};

#endif
