// Drives the ACL paths of the upload against a real store, where the command
// line has no option that reaches them:
//   aclprobe keep-acl HOST PORT BUCKET LOCALFILE        overwrite, keeping the object's ACL
//   aclprobe container-acl HOST PORT BUCKET LOCALFILE   a new object takes the bucket's ACL
// The object's key is the file's name; the keys come from S3_ACCESS_KEY and
// S3_SECRET_KEY. Prints the error and exits 1 when the copy failed.
#include <QCoreApplication>
#include <QFileInfo>
#include <QTextStream>

#include "cloud/acldirective.h"
#include "items/abstractbucket.h"
#include "items/driver.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "shellrunner.h"
#include "sync/shellcopyfileoperation.h"
#include "temptree.h"

namespace {

QSharedPointer<AbstractS3Folder> bucketOn(const QString& host, int port, const QString& name)
{
    QSharedPointer<AbstractAccount> account = Driver::createAccount(AbstractAccount::OtherS3Provider, Id());
    account->setEndpoint(Driver::createEndpoint(host, AbstractFS::S3FileSystem));
    account->setRequestStyle(BrindleLib::RequestStylePath);
    account->setProtocol(BrindleLib::ProtocolHttp);
    account->setExplicitPort(port);
    account->setAccessKey(qgetenv("S3_ACCESS_KEY"));
    account->setSecretKey(qgetenv("S3_SECRET_KEY"));
    Driver::instance()->createAccountUsers(account);
    return Driver::createBucketItem(name, QDateTime(), account).staticCast<AbstractS3Folder>();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    QTextStream err(stderr);
    const bool keepAcl = args.value(1) == QLatin1String("keep-acl");
    if (args.size() != 6 || (!keepAcl && args.value(1) != QLatin1String("container-acl"))) {
        err << "usage: aclprobe keep-acl|container-acl HOST PORT BUCKET LOCALFILE\n";
        return 2;
    }
    const QFileInfo local(args.at(5));
    const auto file = QSharedPointer<LocalFile>::create(
        localFolderAt(local.absolutePath()).staticCast<AbstractLocalContainer>(), local.fileName());
    TransferSettings settings;
    settings.aclDirective = AclDirective(keepAcl ? AclDirective::UseAcl : AclDirective::ContainerAcl, nullptr);
    auto* copy = new ShellCopyFileOperation(nullptr, file, bucketOn(args.at(2), args.at(3).toInt(), args.at(4)),
                                            file->name(), ShellCopyFileOperation::NoCopyFlags,
                                            keepAcl ? OverwriteMode::KeepAcl : OverwriteMode(), settings);
    copy->setOverwriteMode(BrindleLib::OverwriteAlways);
    const bool finished = runShell(copy, 2);
    const OpError error = copy->error();
    delete copy;
    if (!finished) {
        err << "copy did not finish\n";
        return 1;
    }
    if (!error.isNull()) {
        err << "copy failed: " << error.code() << ' ' << error.message() << '\n';
        return 1;
    }
    return 0;
}
