#include "temptree.h"

#include <QDir>
#include <QFile>

#include "items/drive.h"
#include "items/localfolder.h"
#include "items/mycomputer.h"

namespace {

bool makeEntry(const QDir& root, const QString& entry)
{
    const int arrow = int(entry.indexOf(QLatin1String(" -> ")));
    if (arrow >= 0)
        return QFile::link(entry.mid(arrow + 4), root.filePath(entry.left(arrow)));
    if (entry.endsWith(QLatin1Char('/')))
        return root.mkpath(entry);
    QFile file(root.filePath(entry));
    return file.open(QIODevice::WriteOnly) && file.write(entry.toUtf8()) == entry.toUtf8().size();
}

} // namespace

bool makeTree(const QString& root, const QStringList& entries)
{
    const QDir dir(root);
    for (const QString& entry : entries) {
        if (!makeEntry(dir, entry))
            return false;
    }
    return true;
}

QSharedPointer<LocalFolder> localFolderAt(const QString& path)
{
    const auto drive = QSharedPointer<Drive>::create(QLatin1Char('/'), QStringLiteral("/"),
                                                     QSharedPointer<MyComputer>());
    const QString clean = QDir::cleanPath(path);
    return QSharedPointer<LocalFolder>::create(drive, clean, int(clean.size() - clean.lastIndexOf('/') - 1));
}
