// The memory a sync plan takes beyond its two listings, on synthetic
// listings of local items (no disk, no server): 1,000 folders of 1,000 files
// by default, where the destination lacks every tenth file and has another
// size for every second one. Prints the heap growth per entry and the time.
//
//   bench_plan [files-per-folder] [folders]

#include <malloc.h>

#include <cstdio>

#include <QCoreApplication>
#include <QElapsedTimer>

#include "items/drive.h"
#include "items/localfile.h"
#include "items/localfolder.h"
#include "sync/listordering.h"
#include "sync/syncplanner.h"

namespace {

qint64 heapBytes()
{
    return qint64(mallinfo2().uordblks);
}

struct Tree {
    QSharedPointer<LocalFolder> root;
    SyncPlanner::FolderList folders;
    SyncPlanner::FileList files;
};

Tree makeTree(const QString& rootPath, int folders, int filesPerFolder, bool destination)
{
    const auto drive = QSharedPointer<Drive>::create(QLatin1Char('/'), QStringLiteral("/"), nullptr);
    Tree tree{QSharedPointer<LocalFolder>::create(drive, rootPath, int(rootPath.size() - 1)), {}, {}};
    for (int d = 0; d < folders; ++d) {
        const QString name = QStringLiteral("folder-%1").arg(d, 4, 10, QLatin1Char('0'));
        const auto folder = QSharedPointer<LocalFolder>::create(tree.root, rootPath + '/' + name, int(name.size()));
        tree.folders.append(folder);
        for (int f = 0; f < filesPerFolder; ++f) {
            if (destination && f % 10 == 0)
                continue;
            const QString file = QStringLiteral("file-%1.dat").arg(f, 6, 10, QLatin1Char('0'));
            const qint64 size = destination && f % 2 == 0 ? 2 : 1;
            tree.files.append(QSharedPointer<LocalFile>::create(folder, folder->path() + '/' + file,
                                                                int(file.size()), QDateTime(), size));
        }
    }
    sortListsConcurrently(&tree.files, &tree.folders);
    return tree;
}

// Plans the pair and every pair below it, as the executor does: a folder's
// slices go to the pair below and are dropped from the parent's action.
void planTree(const SyncPlanner& planner, const QSharedPointer<AbstractFolder>& source,
              const QSharedPointer<AbstractFolder>& destination, SyncPlanner::Listings listings,
              QVector<QVector<SyncAction>>* plan)
{
    QVector<SyncAction> actions;
    QString error;
    if (!planner.planFolder(source, destination, listings, &actions, &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return;
    }
    for (SyncAction& action : actions) {
        if (action.kind != SyncAction::SyncFolder)
            continue;
        planTree(planner, action.folder, action.twinFolder,
                 {std::exchange(action.folders, {}), std::exchange(action.twinFolders, {}),
                  std::exchange(action.files, {}), std::exchange(action.twinFiles, {})},
                 plan);
    }
    actions.squeeze();
    plan->append(std::move(actions));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int filesPerFolder = argc > 1 ? QByteArray(argv[1]).toInt() : 1000;
    const int folders = argc > 2 ? QByteArray(argv[2]).toInt() : 1000;

    Tree source = makeTree(QStringLiteral("/s"), folders, filesPerFolder, false);
    Tree destination = makeTree(QStringLiteral("/d"), folders, filesPerFolder, true);
    const qint64 entries = source.files.size() + destination.files.size() + source.folders.size()
        + destination.folders.size();
    const qint64 before = heapBytes();

    QElapsedTimer clock;
    clock.start();
    QVector<QVector<SyncAction>> plan;
    planTree(SyncPlanner(SyncJob::Options(), false), source.root, destination.root,
             {std::exchange(source.folders, {}), std::exchange(destination.folders, {}),
              std::exchange(source.files, {}), std::exchange(destination.files, {})},
             &plan);
    const qint64 elapsed = clock.elapsed();
    const qint64 grown = heapBytes() - before;

    qint64 actions = 0;
    for (const QVector<SyncAction>& folder : std::as_const(plan))
        actions += folder.size();
    std::printf("entries %lld (both listings), actions %lld\n", entries, actions);
    std::printf("plan: %lld bytes beyond the listings, %.1f bytes per entry, %.1f per action\n", grown,
                double(grown) / double(entries), double(grown) / double(qMax<qint64>(1, actions)));
    std::printf("time: %lld ms\n", elapsed);
    return 0;
}
