#ifndef SYNCPLANNER_H
#define SYNCPLANNER_H

#include <QList>
#include <QSharedPointer>
#include <QString>
#include <QVector>

#include "sync/syncjob.h"
#include "items/abstractfile.h"
#include "items/abstractfolder.h"

// One decision of a sync, with the reason for it. Folder actions carry the
// slices of the listings that lie below the folder.
struct SyncAction {
    enum Kind : quint8 {
        CopyNew,      // file only in the source
        Replace,      // file on both sides, known to differ
        Compare,      // file on both sides: its content decides
        Keep,         // file left alone although it differs, or may
        Unchanged,    // file known to be equal
        DeleteFile,   // file only in the destination
        SyncFolder,   // folder on both sides with something below
        NewFolder,    // folder only in the source
        DeleteFolder, // folder only in the destination, with all below it
        SkipKey,      // object key that would leave a local destination
    };
    enum Reason : quint8 {
        NoReason,
        NotInDestination,
        NotInSource,
        SizeDiffers,
        Md5Differs,
        ContentDiffers, // found by a comparison of the content
        ContentToCompare,
        DestinationNewer, // --keep-new
        ReplaceRefused,   // --dont-replace
        EqualContent,
        ClimbingKey,
    };

    Kind kind;
    Reason reason;
    // The file of the action: the source's, or for a deletion the destination's.
    QSharedPointer<AbstractFile> file;
    // The destination's twin of `file` for Replace, Compare, Keep, Unchanged.
    QSharedPointer<AbstractFile> twin;
    // The source's folder (SyncFolder, NewFolder) or the destination's (DeleteFolder).
    QSharedPointer<AbstractFolder> folder;
    // The destination's twin of `folder` for SyncFolder.
    QSharedPointer<AbstractFolder> twinFolder;
    // The slices below the folder: the source's, then the destination's.
    QList<QSharedPointer<AbstractFolder>> folders, twinFolders;
    QList<QSharedPointer<AbstractFile>> files, twinFiles;

    static QString reasonText(Reason reason);
};

// Decides what a sync does with one folder pair, from the two listings
// alone: it touches neither the disk nor the network. The listings must be
// sorted by listordering.h; the same order pairs the entries of both sides.
class SyncPlanner
{
public:
    using FolderList = QList<QSharedPointer<AbstractFolder>>;
    using FileList = QList<QSharedPointer<AbstractFile>>;

    // What is left of the two listings below one folder pair. The planner
    // takes what it plans off their fronts.
    struct Listings {
        FolderList sourceFolders, destinationFolders;
        FileList sourceFiles, destinationFiles;
        bool isEmpty() const;
    };

    // keysBecomeLocalPaths: the source is a store and the destination a
    // local folder, so a key's segments must stay below the destination.
    SyncPlanner(SyncJob::Options options, bool keysBecomeLocalPaths);

    // The actions for the files directly in the pair and for its direct
    // sub-folders. False, with `error` set and no actions, when a listing is
    // out of order: a merge of unsorted lists would delete what exists.
    bool planFolder(const QSharedPointer<AbstractFolder>& source, const QSharedPointer<AbstractFolder>& destination,
                    Listings& listings, QVector<SyncAction>* actions, QString* error) const;

    // Whether two twins differ, and whether that needs a look into their
    // content: the one place that says what the listings alone can settle.
    static SyncAction::Reason contentCheck(const AbstractFile& source, const AbstractFile& destination);

private:
    bool planFiles(const QSharedPointer<AbstractFolder>& source, const QSharedPointer<AbstractFolder>& destination,
                   Listings& listings, QVector<SyncAction>* actions, QString* error) const;
    void planFilePair(const QSharedPointer<AbstractFile>& source, const QSharedPointer<AbstractFile>& destination,
                      QVector<SyncAction>* actions) const;
    bool planFolders(Listings& listings, QVector<SyncAction>* actions, QString* error) const;
    void skipClimbing(const QSharedPointer<AbstractFile>& file, QVector<SyncAction>* actions) const;
    bool has(SyncJob::Option option) const { return m_options.testFlag(option); }

    SyncJob::Options m_options;
    bool m_keysBecomeLocalPaths;
};

#endif
