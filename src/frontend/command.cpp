#include "frontend/command.h"

#include <QCoreApplication>
#include <QUuid>

#include <cstdio>

#include "frontend/commandop.h"
#include "items/driver.h"
#include "items/endpoint.h"
#include "net/proxyenvironment.h"
#include "net/tlssettings.h"
#include "operations/retrypolicy.h"
#include "operations/shell.h"
#include "frontend/progressreporter.h"
#include "net/httpstats.h"
#include "sync/shellplannedoperation.h"
#include "sync/syncsummary.h"

namespace {
bool isShortOrLong(const QString& arg, const char* shortForm, const char* longForm)
{
    return (shortForm && arg == QLatin1String(shortForm))
        || (longForm && arg.compare(QLatin1String(longForm), Qt::CaseInsensitive) == 0);
}
} // namespace

Command::Command()
    : m_outStream(stdout), m_errStream(stderr)
{
    ProxyEnvironment::install(ProxyEnvironment::fromEnvironment(QProcessEnvironment::systemEnvironment()));
}

Command::~Command()
{
    delete m_shell;
}

// The line feed comes first: the tool's look on the console.
void Command::write(QTextStream& stream, const QString& text)
{
    stream << '\n' << text;
    stream.flush();
}

void Command::print(const QString& text)
{
    write(m_outStream, text);
}

void Command::printErr(const QString& text)
{
    write(m_errStream, text);
}

void Command::printLines(const QStringList& lines)
{
    for (const QString& line : lines)
        print(line);
}

int Command::interpretArguments(QStringList& args)
{
    m_clientSideEncryption.setSalted(true);
    int index = 0;
    while (index < args.size()) {
        switch (interpretOne(args, index)) {
        case Matched:
            break;
        case NoMatch:
            ++index;
            break;
        case Failed:
            return 1;
        case ShownAndDone:
            return 0;
        }
    }
    return finishArguments(args);
}

Command::Outcome Command::interpretOne(QStringList& args, int index)
{
    const QString arg = args.at(index);
    const bool hasNext = index + 1 < args.size();
    if (hasNext
        && (isShortOrLong(arg, "-A", "--access-key") || isShortOrLong(arg, "-S", "--secret-key")
            || isShortOrLong(arg, nullptr, "--endpoint")))
        return takeValueOption(args, index);
    if (isShortOrLong(arg, "-v", "--verbose")) {
        args.removeAt(index);
        m_verbose = true;
        return Matched;
    }
    if (isShortOrLong(arg, nullptr, "--progress")) {
        args.removeAt(index);
        m_progress = true;
        return Matched;
    }
    if (isShortOrLong(arg, "-e", "--encrypt"))
        return takeEncryptOption(args, index);
    if (isShortOrLong(arg, "-z", "--compress")) {
        m_clientSideEncryption.setCompressionEnabled(true);
        args.removeAt(index);
        return Matched;
    }
    if (isShortOrLong(arg, nullptr, "--decryption-password")
        || isShortOrLong(arg, nullptr, "--encryption-password"))
        return takePasswordOption(args, index);
    if (isShortOrLong(arg, nullptr, "--server-side-encryption")) {
        args.removeAt(index);
        m_serverSideEncryption = ServerSideEncryption(ServerSideEncryption::Enabled, ServerSideEncryption::Aes256);
        return Matched;
    }
    if (isShortOrLong(arg, nullptr, "--nosalt")) {
        args.removeAt(index);
        m_clientSideEncryption.setSalted(false);
        return Matched;
    }
    if (hasNext && isShortOrLong(arg, "-t", "--threads"))
        return takeThreadsOption(args, index);
    if (isShortOrLong(arg, "-D", "--debug")) {
        args.removeAt(index);
        m_debug = true;
        return Matched;
    }
    if (isShortOrLong(arg, nullptr, "--ssl")) {
        args.removeAt(index);
        m_protocol = BrindleLib::ProtocolHttps;
        return Matched;
    }
    if (isShortOrLong(arg, nullptr, "--ca-file") || isShortOrLong(arg, nullptr, "--insecure"))
        return takeTlsOption(args, index);
    if (isShortOrLong(arg, nullptr, "--port"))
        return takePortOption(args, index);
    if (isShortOrLong(arg, nullptr, "--multipart-threshold"))
        return takeMultipartThresholdOption(args, index);
    if (isShortOrLong(arg, nullptr, "--rrs")) {
        args.removeAt(index);
        m_storageOption = StorageDirective(StorageDirective::SetMode, StorageDirective::ReducedRedundancyStorage);
        return Matched;
    }
    if (isShortOrLong(arg, nullptr, "--signature-version") || isShortOrLong(arg, nullptr, "--region"))
        return takeSignatureOption(args, index);
    if (isShortOrLong(arg, "-V", "--version")) {
        showVersion();
        return ShownAndDone;
    }
    if (isShortOrLong(arg, "-h", "--help")) {
        showHelp();
        return ShownAndDone;
    }
    return NoMatch;
}

Command::Outcome Command::takeValueOption(QStringList& args, int index)
{
    const QString option = args.takeAt(index);
    const QString value = args.takeAt(index);
    if (isShortOrLong(option, "-A", "--access-key")) {
        m_accessKey = value.toLatin1();
    } else if (isShortOrLong(option, "-S", "--secret-key")) {
        m_secretKey = value.toLatin1();
    } else {
        const int nul = value.indexOf(QChar(0));
        m_endPoint = nul < 0 ? value : value.left(nul);
    }
    return Matched;
}

Command::Outcome Command::takeEncryptOption(QStringList& args, int index)
{
    m_clientSideEncryption.setEncryptionEnabled(true);
    args.removeAt(index);
    if (index >= args.size()) {
        printErr(QStringLiteral("Invalid arguments"));
        return Failed;
    }
    const QString value = args.takeAt(index);
    bool ok = false;
    const ClientSideEncryption::Algorithm algorithm = ClientSideEncryption::algorithmFromString(value, &ok);
    if (!ok) {
        printErr(QStringLiteral("Invalid argument ") + value + QLatin1Char(' '));
        return Failed;
    }
    m_clientSideEncryption.setAlgorithm(algorithm);
    return Matched;
}

Command::Outcome Command::takePasswordOption(QStringList& args, int index)
{
    const QString option = args.takeAt(index);
    if (index >= args.size()) {
        printErr(QStringLiteral("Invalid arguments"));
        return Failed;
    }
    const Password password = Password::fromString(args.takeAt(index));
    if (isShortOrLong(option, nullptr, "--decryption-password"))
        m_decryptionPasswords.append(password);
    else
        m_encryptionPassword = password;
    return Matched;
}

Command::Outcome Command::takeThreadsOption(QStringList& args, int index)
{
    const QString option = args.takeAt(index);
    const QString value = args.at(index);
    bool ok = false;
    const int threads = value.toInt(&ok, 10);
    // Signed on purpose: a negative count passes and leaves the scheduler idle.
    if (!ok || threads == 0 || threads > 0x8000) {
        printErr(QStringLiteral("Invalid argument ") + option + QLatin1Char(' ') + value);
        return Failed;
    }
    m_threads = threads;
    args.removeAt(index);
    return Matched;
}

Command::Outcome Command::takeTlsOption(QStringList& args, int index)
{
    const QString option = args.takeAt(index);
    if (isShortOrLong(option, nullptr, "--insecure")) {
        TlsSettings::setInsecure(true);
        return Matched;
    }
    if (index >= args.size()) {
        printErr(QStringLiteral("Invalid arguments"));
        return Failed;
    }
    QString message;
    if (!TlsSettings::addCaFile(args.takeAt(index), &message)) {
        printErr(message);
        return Failed;
    }
    return Matched;
}

Command::Outcome Command::takePortOption(QStringList& args, int index)
{
    args.removeAt(index);
    if (index >= args.size()) {
        printErr(QStringLiteral("Invalid port"));
        return Failed;
    }
    bool ok = false;
    const int port = args.takeAt(index).toInt(&ok, 10);
    if (!ok || port < 1 || port > 65535) {
        printErr(QStringLiteral("Invalid port"));
        return Failed;
    }
    m_port = port;
    return Matched;
}

Command::Outcome Command::takeSignatureOption(QStringList& args, int index)
{
    const QString option = args.takeAt(index);
    if (index >= args.size()) {
        printErr(QStringLiteral("Missing value for ") + option);
        return Failed;
    }
    const QString value = args.takeAt(index);
    if (isShortOrLong(option, nullptr, "--region")) {
        m_region = value;
        return checkRegion(value) ? Matched : Failed;
    }
    if (value == QLatin1String("2") || value == QLatin1String("4")) {
        m_signatureChoice = SignatureSettings::Choice(value.toInt());
        return Matched;
    }
    printErr(QStringLiteral("Invalid signature version '%1': use 2 or 4").arg(value));
    return Failed;
}

bool Command::checkRegion(const QString& region)
{
    if (SignatureSettings::isValidRegion(region))
        return true;
    printErr(QStringLiteral("Invalid region '%1': a region is a name such as eu-west-1").arg(region));
    return false;
}

Command::Outcome Command::takeMultipartThresholdOption(QStringList& args, int index)
{
    const QString option = args.takeAt(index);
    const QString value = index < args.size() ? args.takeAt(index) : QString();
    const qint64 threshold = Multipart::parseSize(value);
    // Stores take no part below 5 MiB, and no single PUT above 5 GiB.
    if (threshold < Multipart::_minimumThreshold || threshold > Multipart::_maximumSinglePut) {
        printErr(QStringLiteral("Invalid argument ") + option + QLatin1Char(' ') + value
                 + QStringLiteral(" : a size from 5M to 5G is expected, such as 64M or 1G"));
        return Failed;
    }
    m_multipartOpt.setThreshold(threshold);
    return Matched;
}

int Command::finishArguments(const QStringList& rest)
{
    m_multipartOpt.setPartsInFlight(m_threads);
    if (m_encryptionPassword.isEmpty())
        m_encryptionPassword = Password::fromUtf8(qgetenv("QUORLES_ENCRYPTION_PASSWORD"));
    if (m_clientSideEncryption.isEncryptionEnabled()) {
        if (m_encryptionPassword.isEmpty()) {
            printErr(QStringLiteral("Invalid or missing encryption password"));
            return 1;
        }
        m_clientSideEncryption.setPassword(m_encryptionPassword);
    }
    if (m_accessKey.isEmpty())
        m_accessKey = qgetenv("QUORLES_ACCESS_KEY");
    if (m_secretKey.isEmpty())
        m_secretKey = qgetenv("QUORLES_SECRET_KEY");
    if (needsStore(rest)) {
        if (m_accessKey.isEmpty()) {
            printErr(QStringLiteral("Missing Access Key !"));
            return 1;
        }
        if (m_secretKey.isEmpty()) {
            printErr(QStringLiteral("Missing Secret Key !"));
            return 1;
        }
    }
    readDecryptionPasswordsFromEnvironment();
    if (m_region.isEmpty() && !qEnvironmentVariableIsEmpty("QUORLES_REGION")) {
        m_region = qEnvironmentVariable("QUORLES_REGION");
        if (!checkRegion(m_region))
            return 1;
    }
    if (TlsSettings::isInsecure())
        printErr(QStringLiteral("Warning: --insecure: TLS certificates are not verified"));
    return 2;
}

void Command::readDecryptionPasswordsFromEnvironment()
{
    for (int n = 0;; ++n) {
        const Password password =
            Password::fromUtf8(qgetenv(("QUORLES_DECRYPTION_PASSWORD_" + QByteArray::number(n)).constData()));
        if (password.isEmpty())
            return;
        if (!m_decryptionPasswords.contains(password))
            m_decryptionPasswords.append(password);
    }
}

void Command::execute(CommandOp* op, AbstractAccount::Provider provider)
{
    const Id id(QUuid::createUuid().toString());
    m_account = Driver::createAccount(provider, id);
    if (!m_endPoint.isEmpty())
        m_account->setEndpoint(Driver::createEndpoint(m_endPoint, Driver::fileSystemFromProvider(provider)));
    m_account->setAccessKey(m_accessKey);
    m_account->setSecretKey(m_secretKey);
    m_account->setProtocol(m_protocol);
    // An explicit port reaches every URL the account's items build.
    m_account->setExplicitPort(accountPort());
    const QSharedPointer<SignatureSettings> signature = SignatureSettings::of(m_account);
    signature->setChoice(m_signatureChoice);
    if (!m_region.isEmpty())
        signature->setDefaultRegion(m_region.toLatin1());
    Driver::instance()->createAccountUsers(m_account);

    m_shell = new Shell(nullptr);
    m_shell->setMaxConcurrentOperations(m_threads);
    m_shell->setLogEnabled(m_debug);
    connect(m_shell, &Shell::shellOperationFinished, this, &Command::slotOperationFinished, Qt::QueuedConnection);
    connect(m_shell, &Shell::shellOperationStarted, this, &Command::slotOperationStarted, Qt::QueuedConnection);
    if (!op->account())
        op->setAccount(m_account);
    m_rootOperationId = op->uniqueId();
    if (m_progress)
        (new ProgressReporter(this))->start();
    m_shell->execute(op);
}

void Command::slotOperationStarted(AbstractShellOperation* op)
{
    if (op->uniqueId() == m_rootOperationId || m_debug || !m_verbose || op->commandLineShowTag())
        return;
    op->setCommandLineShowTag(true);
    QString src = op->sourceDisplayPath();
    QString dst = op->destinationDisplayPath();
    if (src.isEmpty() && dst.isEmpty())
        return;
    if (src.isEmpty()) {
        src = dst;
        dst.clear();
    }
    QString line = QLatin1Char('[') + op->name() + QStringLiteral("] ") + src;
    if (!dst.isEmpty())
        line += QStringLiteral(" --> ") + dst;
    print(line);
}

void Command::slotOperationFinished(AbstractShellOperation* op)
{
    operationFinished(op);
    if (m_debug) {
        const QByteArray log = op->log();
        const int nul = log.indexOf('\0');
        const QString text = QString::fromUtf8(nul < 0 ? log : log.left(nul));
        if (!text.isEmpty())
            print(text);
    }
    // A dry run's decisions are shown, not carried out.
    auto* planned = dynamic_cast<ShellPlannedOperation*>(op);
    if (planned && op->error().isNull())
        print(planned->planLine());
    OpError error = op->error();
    if (!error.isNull() && !error.showFlag()) {
        error.setShowFlag(true);
        printErr(QStringLiteral("** Error **"));
        printErr(QStringLiteral("Operation: ") + op->name());
        printErr(QStringLiteral("Message: ") + error.toString(false));
        noteFailure(op);
    }
    if (op->uniqueId() != m_rootOperationId) {
        op->clearAllOperations();
        return;
    }
    if (auto* progress = findChild<ProgressReporter*>())
        progress->stop();
    if (m_verbose) {
        print(QStringLiteral("Done."));
        if (SyncSummary::instance().isStarted())
            print(SyncSummary::instance().summaryLine(global_httpStats.totalUploaded(),
                                                      global_httpStats.totalDownloaded()));
        print(QString());
    }
    const bool success = op->error().isNull();
    delete op;
    if (!success)
        printFailureSummary();
    QCoreApplication::exit(success ? 0 : 1);
}

void Command::noteFailure(AbstractShellOperation* op)
{
    const QString source = op->sourceDisplayPath();
    const QString destination = op->destinationDisplayPath();
    QString path = source.isEmpty() || destination.isEmpty() ? source + destination
                                                             : source + QStringLiteral(" -> ") + destination;
    if (path.isEmpty())
        path = op->name();
    // One line a failure, whatever a key holds.
    m_failures.append(BrindleLib::printable(path + QStringLiteral(": ") + RetryPolicy::reason(op)));
}

// After the error blocks, which a long run scrolls away: every path that
// failed and why, last on stderr where a backup script's log ends.
void Command::printFailureSummary()
{
    if (m_failures.isEmpty())
        return;
    printErr(tr("Failed: %1").arg(m_failures.size()));
    for (const QString& line : std::as_const(m_failures))
        printErr(line);
}

void Command::operationFinished(AbstractShellOperation*)
{
}

void Command::showHelp()
{
    printLines({
        QStringLiteral("-v --verbose                  Verbose"),
        QStringLiteral("   --progress                 Show files and bytes done, rate and time left"),
        QStringLiteral("                              on standard error"),
        QStringLiteral("-V --version                  Display the version number"),
        QStringLiteral("-h --help                     Display a help screen and quit"),
        QStringLiteral("-D --debug                    Debug mode"),
        QStringLiteral("-t --threads                  Number of concurrent connections (default: %1)").arg(4),
        QStringLiteral("-A --access-key ACCESS_KEY    Access Key ID"),
        QStringLiteral("-S --secret-key SECRET_KEY    Secret Key"),
        QStringLiteral("   --ssl                      Enable SSL/HTTPS"),
        QStringLiteral("   --ca-file FILE             Also trust the CA certificates in FILE (PEM)"),
        QStringLiteral("   --insecure                 Do not verify TLS certificates (unsafe)"),
        QStringLiteral("   --endpoint                 Define the endpoint of the service"),
        QStringLiteral("   --port                     Specify the port number of the service"),
        QStringLiteral("   --signature-version 2|4    Signature version (default: 2, 4 if the store asks)"),
        QStringLiteral("   --region NAME              Region for signature version 4 (default: us-east-1)"),
    });
}

void Command::showStorageOptions()
{
    printLines({
        QString(),
        QStringLiteral("Storage :"),
        QStringLiteral("   --rrs                      Use Reduced Redundancy Storage (Amazon S3 Only)"),
        QStringLiteral("   --multipart-threshold SIZE Upload files above SIZE in parts (default: 1G)"),
    });
}

void Command::showClientSideEncryptionOptions()
{
    QStringList lines{
        QString(),
        QStringLiteral("Compression :"),
        QStringLiteral("-z --compress                 Enable compression"),
        QString(),
        QStringLiteral("Client side encryption :"),
        QStringLiteral("-e --encrypt CIPHER           Enable client side encryption."),
        QString(),
        QStringLiteral("                              Supported OpenSSL ciphers :"),
    };
    // The screen lists the ciphers in its own order, with its own wording.
    static const char* const ciphers[] = {
        "aes-256-cbc  256 bit AES in CBC mode",
        "aes-192-cbc  192 bit AES in CBC mode",
        "aes-128-cbc  128 bit AES in CBC mode",
        "aes-256-cfb  256 bit AES in 128 bit CFB mode",
        "aes-192-cfb  192 bit AES in 128 bit CFB mode",
        "aes-128-cfb  128 bit AES in 128 bit CFB mode",
        "aes-256-cfb1 256 bit AES in 1 bit CFB mode",
        "aes-192-cfb1 192 bit AES in 1 bit CFB mode",
        "aes-128-cfb1 128 bit AES in 1 bit CFB mode",
        "aes-256-cfb8 256 bit AES in 8 bit CFB mode",
        "aes-192-cfb8 192 bit AES in 8 bit CFB mode",
        "aes-128-cfb8 128 bit AES in 8 bit CFB mode",
        "aes-256-ofb  256 bit AES in OFB mode",
        "aes-192-ofb  192 bit AES in OFB mode",
        "aes-128-ofb  28 bit AES in OFB mode",
        "bf-cbc       Blowfish in CBC mode",
        "bf-cfb       Blowfish in CFB mode",
        "bf-ofb       Blowfish in OFB mode",
        "des-ede3-cbc Three key triple DES EDE in CBC mode",
        "des-ede3-cfb Three key triple DES EDE in CFB mode",
        "des-ede3-ofb Three key triple DES EDE in OFB mode",
    };
    for (const char* cipher : ciphers)
        lines << QStringLiteral("                              ") + QLatin1String(cipher);
    lines << QString()
          << QStringLiteral("   --nosalt                   Don't use a salt in the key derivation routines. ")
          << QStringLiteral("   --encryption-password PWD  Use PWD to encrypt files.")
          << QStringLiteral("   --decryption-password PWD  Use PWD to decrypt files. You may set this option")
          << QStringLiteral("                              several times.");
    printLines(lines);
}

void Command::showServerSideEncruptionOptions()
{
    printLines({
        QString(),
        QStringLiteral("Server side encryption :"),
        QStringLiteral("   --server-side-encryption   Enable Server Side Encryption"),
        QStringLiteral("                              (Amazon S3 Only)"),
    });
}

void Command::showVersion()
{
    printLines({
        QStringLiteral("Copyright (c) 2012-2026 the quorle authors."),
        QStringLiteral("Home page: https://quorle.example.org/"),
        QStringLiteral("This software is freeware, it comes with ABSOLUTELY NO WARRANTY of any kind."),
        QString(),
    });
}
