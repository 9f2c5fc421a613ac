#include "sync/shelldeletefileoperation.h"

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
        // Objects are deleted by the cloud delete group, which this build
        // does not have yet.
        break;
    }
}
