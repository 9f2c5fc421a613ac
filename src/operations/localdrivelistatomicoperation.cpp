#include "operations/localdrivelistatomicoperation.h"

#include <mntent.h>

#include <QDir>
#include <QFileInfo>

#include "items/drive.h"
#include "items/driver.h"
#include "operations/localoperationrunner.h"

LocalDriveListAtomicOperation::LocalDriveListAtomicOperation(OperationGroup* parent,
                                                             const QSharedPointer<MyComputer>& myComputer)
    : myComputer(myComputer)
{
    setParent(parent);
}

LocalDriveListAtomicOperation* LocalDriveListAtomicOperation::clone(OperationGroup* parent) const
{
    auto* copy = new LocalDriveListAtomicOperation(parent, myComputer);
    copy->mountTable = mountTable;
    return copy;
}

void LocalDriveListAtomicOperation::run(LocalOperationRunner&)
{
    const QChar delimiter = Driver::localDelimiter();
    QList<QSharedPointer<Drive>> found;
    const QFileInfoList roots = QDir::drives();
    for (const QFileInfo& root : roots)
        found.append(QSharedPointer<Drive>::create(delimiter, root.absoluteFilePath(), myComputer));

    // Removable media and other mounts below the two usual places count as
    // drives of their own; a table that can't be read leaves just the roots.
    if (FILE* table = setmntent(mountTable.constData(), "r")) {
        mntent entry;
        char buffer[4096];
        while (getmntent_r(table, &entry, buffer, sizeof buffer)) {
            const QString dir = QString::fromLocal8Bit(entry.mnt_dir);
            if (!dir.startsWith(QLatin1String("/mnt/")) && !dir.startsWith(QLatin1String("/media/")))
                continue;
            auto drive = QSharedPointer<Drive>::create(delimiter, QFileInfo(dir).absoluteFilePath(), myComputer);
            drive->setShortcut(true);
            found.append(drive);
        }
        endmntent(table);
    }

    QStringList taken;
    for (const QSharedPointer<Drive>& drive : std::as_const(found)) {
        const QString path = drive->path();
        if (taken.contains(path))
            continue;
        taken.append(path);
        drives.append(drive);
    }
}
