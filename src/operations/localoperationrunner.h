#ifndef LOCALOPERATIONRUNNER_H
#define LOCALOPERATIONRUNNER_H

#include <QAtomicInt>
#include <QByteArray>
#include <QChar>
#include <QCoreApplication>
#include <QSharedPointer>
#include <QString>

class AbstractLocalContainer;
class AbstractLocalOperation;
class CopyLocalFileToLocalAtomicOperation;
class CreateLocalFolderAtomicOperation;
class DeleteLocalEmptyFolderAtomicOperation;
class DeleteLocalFileAtomicOperation;
class EncryptLocalFileAtomicOperation;
class LocalContainerExistsAtomicOperation;
class LocalDriveListAtomicOperation;
class LocalFolderListAtomicOperation;
class LocalMd5AtomicOperation;

// The local half of a handler: carries out one local atomic operation from
// start to end on the handler's thread, setting its results or its error.
class LocalOperationRunner
{
    Q_DECLARE_TR_FUNCTIONS(OperationHandler)

public:
    LocalOperationRunner(AbstractLocalOperation* op, bool logEnabled, const QAtomicInt* abortFlag);

    void run();

private:
    bool aborted() const { return m_abortFlag && m_abortFlag->loadAcquire() != 0; }
    void log(const QByteArray& text);
    void log(const QString& text) { log(text.toUtf8()); }
    // Sets a file error on the operation and logs it.
    void fail(const QString& code, const QString& message);

    void copy(CopyLocalFileToLocalAtomicOperation* op);
    void createFolder(CreateLocalFolderAtomicOperation* op);
    void deleteFolder(DeleteLocalEmptyFolderAtomicOperation* op);
    void deleteFile(DeleteLocalFileAtomicOperation* op);
    void driveList(LocalDriveListAtomicOperation* op);
    void folderListEntry(LocalFolderListAtomicOperation* op);
    void folderListEntry(LocalFolderListAtomicOperation* op,
                         const QSharedPointer<AbstractLocalContainer>& folder);
    void folderExists(LocalContainerExistsAtomicOperation* op);
    void compteMd5CheckSum(LocalMd5AtomicOperation* op);
    void logMd5(const QByteArray& md5);
    void encryptLocalFile(EncryptLocalFileAtomicOperation* op);
    void logEncodingSettings(const EncryptLocalFileAtomicOperation* op);

    AbstractLocalOperation* m_op;
    bool m_logEnabled;
    const QAtomicInt* m_abortFlag;
};

#endif
