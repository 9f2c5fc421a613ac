#ifndef COMMAND_H
#define COMMAND_H

#include <QByteArray>
#include <QObject>
#include <QSharedPointer>
#include <QStringList>
#include <QTextStream>

#include "crypto/clientsideencryption.h"
#include "crypto/multipart.h"
#include "crypto/password.h"
#include "crypto/serversideencryption.h"
#include "crypto/storagedirective.h"
#include "items/abstractaccount.h"
#include "items/signaturesettings.h"
#include "util/brindlelib.h"

class AbstractShellOperation;
class CommandOp;
class Shell;

// The base of the tool's commands: reads the options common to all of them,
// builds the account and the scheduler, and reports on the console.
class Command : public QObject
{
    Q_OBJECT

public:
    Command();
    ~Command() override;

    // 0: help or version shown, end with success; 1: error reported; 2: go on.
    // Removes from `args` all that it recognises.
    int interpretArguments(QStringList& args);
    void execute(CommandOp* op, AbstractAccount::Provider provider);

    void print(const QString& text);
    void printErr(const QString& text);

    ClientSideEncryption clientSideEncryption() const { return m_clientSideEncryption; }
    ServerSideEncryption serverSideEncryption() const { return m_serverSideEncryption; }
    StorageDirective storageOption() const { return m_storageOption; }
    Multipart multipartOpt() const { return m_multipartOpt; }
    DecryptionPasswords decryptionPasswords() const { return m_decryptionPasswords; }
    int port() const { return m_port; }
    SignatureSettings::Choice signatureChoice() const { return m_signatureChoice; }
    QString region() const { return m_region; }
    QString endPoint() const { return m_endPoint; }
    int threads() const { return m_threads; }
    bool isVerbose() const { return m_verbose; }
    bool isDebug() const { return m_debug; }
    BrindleLib::Protocol protocol() const { return m_protocol; }
    QByteArray accessKey() const { return m_accessKey; }
    QByteArray secretKey() const { return m_secretKey; }

public Q_SLOTS:
    virtual void showHelp();
    virtual void showVersion();
    virtual void operationFinished(AbstractShellOperation* op);
    void slotOperationFinished(AbstractShellOperation* op);
    void slotOperationStarted(AbstractShellOperation* op);

Q_SIGNALS:
    void finished();

protected:
    // The port that every request of the account uses; 0 for the protocol's default.
    virtual int accountPort() const { return m_port; }
    // Whether the arguments left after the common options reach a store,
    // so that the keys must be there before anything else is built.
    virtual bool needsStore(const QStringList& rest) const
    {
        Q_UNUSED(rest);
        return true;
    }
    void showStorageOptions();
    void showClientSideEncryptionOptions();
    void showServerSideEncruptionOptions();
    void printLines(const QStringList& lines);

private:
    enum Outcome { Matched, NoMatch, Failed, ShownAndDone };
    Outcome interpretOne(QStringList& args, int index);
    Outcome takeValueOption(QStringList& args, int index);
    Outcome takeEncryptOption(QStringList& args, int index);
    Outcome takePasswordOption(QStringList& args, int index);
    Outcome takeThreadsOption(QStringList& args, int index);
    Outcome takePortOption(QStringList& args, int index);
    Outcome takeSignatureOption(QStringList& args, int index);
    bool checkRegion(const QString& region);
    Outcome takeTlsOption(QStringList& args, int index);
    Outcome takeMultipartThresholdOption(QStringList& args, int index);
    int finishArguments(const QStringList& rest);
    void readDecryptionPasswordsFromEnvironment();
    void write(QTextStream& stream, const QString& text);
    void noteFailure(AbstractShellOperation* op);
    void printFailureSummary();

    QTextStream m_outStream;
    QTextStream m_errStream;
    int m_rootOperationId = 0;
    bool m_debug = false;
    bool m_verbose = false;
    bool m_progress = false;
    Shell* m_shell = nullptr;
    int m_threads = 4;
    QSharedPointer<AbstractAccount> m_account;
    QByteArray m_accessKey;
    QByteArray m_secretKey;
    BrindleLib::Protocol m_protocol = BrindleLib::ProtocolHttp;
    QString m_endPoint;
    DecryptionPasswords m_decryptionPasswords;
    Password m_encryptionPassword;
    ClientSideEncryption m_clientSideEncryption;
    ServerSideEncryption m_serverSideEncryption;
    StorageDirective m_storageOption;
    Multipart m_multipartOpt;
    int m_port = 0;
    SignatureSettings::Choice m_signatureChoice = SignatureSettings::Automatic;
    QString m_region;
    // One line per failed path, for the summary that ends a failed run.
    QStringList m_failures;
};

#endif
