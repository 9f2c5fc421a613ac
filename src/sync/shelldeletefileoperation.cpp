#include "sync/shelldeletefileoperation.h"

#include "cloud/deletecloudfileoperation.h"
#include "items/abstractcloudfile.h"
#include "operations/deletelocalfileatomicoperation.h"

ShellDeleteFileOperation::ShellDeleteFileOperation(OperationGroup* parent, const QSharedPointer<AbstractFile>& file,
                                                   bool allVersions)
    : AbstractShellOperation(parent), file(file), allVersions(allVersions)
{
    switch (file->fileSystemClass()) {
    case AbstractFS::LocalClass:
        append(new DeleteLocalFileAtomicOperation(this, file));
        break;
    case AbstractFS::CloudClass:
        // Each version is an item of its own: the file given is the one deleted.
        appendThen(new DeleteCloudFileOperation(this, file.staticCast<AbstractCloudFile>()),
                   [this](DeleteCloudFileOperation* deletion) {
                       markerFile = deletion->markerFile;
                       previousFile = deletion->previousFile;
                   });
        break;
    }
}

QString ShellDeleteFileOperation::name() const
{
    if (file->fileSystemClass() == AbstractFS::CloudClass) {
        const auto cloudFile = file.staticCast<AbstractCloudFile>();
        if (!cloudFile->deleteMarker().isNull())
            return tr("Remove delete marker");
        if (!cloudFile->isLatest())
            return tr("Delete version");
    }
    return tr("Delete");
}
