#ifndef DOWNLOADOPERATION_H
#define DOWNLOADOPERATION_H

#include <QSharedPointer>

#include "crypto/password.h"
#include "net/httpheader.h"
#include "operations/operationgroup.h"

class AbstractCloudFile;
class AbstractLocalContainer;
class DownloadFromWSAtomicOperation;
class LocalFile;

// Runs the GET of one object into its local target and reads back what was
// written and the checksum that the store holds for it.
class DownloadOperation : public OperationGroup
{
    Q_DECLARE_TR_FUNCTIONS(DownloadOperation)

public:
    DownloadOperation(OperationGroup* parent, const QSharedPointer<AbstractCloudFile>& source,
                      const QSharedPointer<AbstractLocalContainer>& destinationFolder,
                      const DecryptionPasswords& decryptionPasswords, bool computeMd5);

    QString name() const override { return tr("Download"); }
    void prepareFirstOperation() override;

    // The file as it lies on disk after the transfer; null before or on failure.
    QSharedPointer<LocalFile> downloadedFile() const;
    // The MD5 of the plain content that the store gave: raw bytes, empty if none.
    QByteArray sourceMd5() const;
    // The MD5 of what was written, when it was asked for.
    QByteArray downloadedMd5() const;

    // The store's MD5 in an answer's head: the plain file's, kept in the
    // metadata for encoded objects, else the "ETag".
    static QByteArray expectedMd5(const HttpResponseHeader& head, const QByteArray& etagMetadataKey);

private:
    void takeAnswer(DownloadFromWSAtomicOperation* get);

    const QSharedPointer<AbstractCloudFile> m_source;
    const QSharedPointer<AbstractLocalContainer> m_destinationFolder;
    const DecryptionPasswords m_decryptionPasswords;
    const bool m_computeMd5;
    QSharedPointer<LocalFile> m_downloadedFile;
    QByteArray m_sourceMd5;
    QByteArray m_downloadedMd5;
    mutable FastMutex m_resultMutex;
};

#endif
