#ifndef SYNCJOB_H
#define SYNCJOB_H

#include <QFlags>
#include <QSharedDataPointer>
#include <QString>

#include "items/filter.h"

// What a sync run is to do: its option flags and its filter.
class SyncJob
{
public:
    enum Option {
        KeepNew = 0x0001,
        DontDelete = 0x0002,
        DontAdd = 0x0004,
        DontReplace = 0x0008,
        IgnoreHiddenFiles = 0x0010,
        IgnoreSystemFiles = 0x0020,
        // The flags below up to 0x0800 are read by the sync engine, but the
        // command line never sets them.
        ApplyContainerAcl = 0x0040,
        OverwriteKeepsAcl = 0x0080,
        OverwriteKeepsMetadata = 0x0100,
        LimitKeptVersions = 0x0400,
        LimitKeepTime = 0x0800,
        IgnoreSymbolicLinks = 0x1000,
        // Plan and show, change nothing.
        DryRun = 0x2000
    };
    Q_DECLARE_FLAGS(Options, Option)

    // The options of a command line that names none.
    static Options commandLineDefaults()
    {
        return Options(IgnoreHiddenFiles | IgnoreSystemFiles | IgnoreSymbolicLinks);
    }

    // No data until the first setter, which creates it with the defaults.
    SyncJob();
    SyncJob(const SyncJob& other);
    SyncJob& operator=(const SyncJob& other);
    ~SyncJob();

    bool isNull() const;

    QString name() const;
    // A fresh UUID per job, shared by its copies; empty for a null job.
    QString id() const;
    Options options() const;
    Filter filter() const;
    int maximumKeepVersions() const;
    int maximumKeepTime() const;

    void setName(const QString& name);
    void setId(const QString& id);
    void setOptions(Options options);
    void setFilter(const Filter& filter);
    void setMaximumKeepVersions(int versions);
    void setMaximumKeepTime(int time);

private:
    struct Private;
    QSharedDataPointer<Private> d;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(SyncJob::Options)

#endif
