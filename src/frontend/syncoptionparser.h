#ifndef SYNCOPTIONPARSER_H
#define SYNCOPTIONPARSER_H

#include <QStringList>

#include "sync/syncjob.h"

class Filter;
class QuorleCommand;

// The second reader of the command line: takes what only the sync command
// knows (filters, sync flags, the two paths) from what the common reader
// left, and reports what is still left as an error.
class SyncOptionParser
{
public:
    SyncOptionParser(QuorleCommand& command, Filter& filter);

    // False when an error was reported; the exit code is then 1.
    bool parse(QStringList& args);
    SyncJob::Options options() const { return m_options; }

    // The paths that parse() would take from args, found by the same walk
    // with nothing reported or kept: fewer than two when the line names
    // fewer or fails before its second path.
    static QStringList paths(QStringList args);

private:
    enum Step { Taken, Skipped, Failed };
    // A null command only looks: nothing is printed or handed over.
    SyncOptionParser(QuorleCommand* command, Filter& filter);
    bool walk(QStringList& args);
    Step takeOne(QStringList& args, int index);
    Step takeFilter(QStringList& args, int index);

    QuorleCommand* m_command;
    Filter& m_filter;
    SyncJob::Options m_options;
    QString m_source;
    QString m_destination;
};

#endif
