#ifndef COPYLOCALFILETOLOCALOPERATION_H
#define COPYLOCALFILETOLOCALOPERATION_H

#include <QSharedPointer>

#include "items/abstractlocalcontainer.h"
#include "items/localfile.h"
#include "operations/operationgroup.h"
#include "sync/shellcopyfileoperation.h"

class LocalMd5AtomicOperation;

// A copy between two local folders: decides on an existing target by the
// run's overwrite mode, then leaves the work to the atomic copy.
class CopyLocalFileToLocalOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(CopyLocalFileToLocalOperation)

public:
    CopyLocalFileToLocalOperation(OperationGroup* parent, const QSharedPointer<LocalFile>& source,
                                  const QSharedPointer<AbstractLocalContainer>& destination,
                                  const QString& fileName, ShellCopyFileOperation::CopyFlags flags);

    QString name() const override { return tr("Copy file"); }
    void prepareFirstOperation() override;

    QSharedPointer<LocalFile> source() const { return m_source; }
    QSharedPointer<AbstractLocalContainer> destination() const { return m_destination; }
    bool deleteSource() const { return m_deleteSource; }
    bool transferSkipped() const { return m_transferSkipped; }
    QString fileName() const { return m_fileName; }
    QSharedPointer<LocalFile> copiedLocalFile() const { return m_copiedLocalFile; }

private:
    void copyFile();
    void confirm();
    void decide(BrindleLib::OverwriteMode mode);
    // Keeps one side's digest in md5; with both known, skips or copies.
    void md5Finished(LocalMd5AtomicOperation* child, QByteArray& md5);
    void answered(BrindleLib::OverwriteMode answer);
    BrindleLib::OverwriteMode topLevelOverwriteMode();

    QSharedPointer<LocalFile> m_source;
    QSharedPointer<AbstractLocalContainer> m_destination;
    bool m_deleteSource;
    bool m_compareBeforeAsking;
    bool m_transferSkipped = false;
    QString m_fileName;
    bool m_failIfExists;
    QByteArray m_sourceMd5;
    QByteArray m_targetMd5;
    QSharedPointer<LocalFile> m_copiedLocalFile;
    QSharedPointer<LocalFile> m_existingFile;
};

#endif
