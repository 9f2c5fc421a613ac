#include "frontend/syncoptionparser.h"

#include "items/filter.h"
#include "frontend/getfilter.h"
#include "frontend/quorlecommand.h"

namespace {
bool sameText(const QString& arg, const char* text)
{
    return arg.compare(QLatin1String(text), Qt::CaseInsensitive) == 0;
}
} // namespace

SyncOptionParser::SyncOptionParser(QuorleCommand& command, Filter& filter)
    : SyncOptionParser(&command, filter)
{
}

SyncOptionParser::SyncOptionParser(QuorleCommand* command, Filter& filter)
    : m_command(command), m_filter(filter), m_options(SyncJob::commandLineDefaults())
{
}

bool SyncOptionParser::parse(QStringList& args)
{
    if (!walk(args))
        return false;
    if (!args.isEmpty() || m_source.isEmpty() || m_destination.isEmpty()) {
        m_command->print(QStringLiteral("Invalid arguments : ") + args.join(QLatin1Char(' ')));
        m_command->showHelp();
        return false;
    }
    m_command->setSource(m_source);
    m_command->setDestination(m_destination);
    return true;
}

QStringList SyncOptionParser::paths(QStringList args)
{
    Filter scratch;
    SyncOptionParser lookahead(nullptr, scratch);
    lookahead.walk(args);
    QStringList found;
    for (const QString& path : {lookahead.m_source, lookahead.m_destination}) {
        if (!path.isEmpty())
            found << path;
    }
    return found;
}

bool SyncOptionParser::walk(QStringList& args)
{
    int index = 0;
    while (index < args.size()) {
        switch (takeOne(args, index)) {
        case Taken:
            break;
        case Skipped:
            ++index;
            break;
        case Failed:
            return false;
        }
    }
    return true;
}

SyncOptionParser::Step SyncOptionParser::takeOne(QStringList& args, int index)
{
    const QString arg = args.at(index);
    if ((arg.startsWith(QLatin1String("--include-"), Qt::CaseInsensitive)
         || arg.startsWith(QLatin1String("--exclude-"), Qt::CaseInsensitive))
        && index + 1 < args.size())
        return takeFilter(args, index);

    struct FlagOption
    {
        const char* shortForm;
        const char* longForm;
        SyncJob::Option flag;
        bool set;
    };
    // "--symbolic-links" carries a TAB: the plain word is no option.
    static const FlagOption flags[] = {
        {nullptr, "--keep-new", SyncJob::KeepNew, true},
        {nullptr, "--dont-delete", SyncJob::DontDelete, true},
        {nullptr, "--dont-add", SyncJob::DontAdd, true},
        {nullptr, "--dont-replace", SyncJob::DontReplace, true},
        {"-h", "--hidden-files", SyncJob::IgnoreHiddenFiles, false},
        {"-l", "--symbolic-links\t", SyncJob::IgnoreSymbolicLinks, false},
        {"-s", "--system-files", SyncJob::IgnoreHiddenFiles, false},
        {"-n", "--dry-run", SyncJob::DryRun, true},
    };
    for (const FlagOption& option : flags) {
        if ((option.shortForm && arg == QLatin1String(option.shortForm)) || sameText(arg, option.longForm)) {
            args.removeAt(index);
            m_options.setFlag(option.flag, option.set);
            return Taken;
        }
    }
    if (!arg.startsWith(QLatin1Char('-')) && m_source.isEmpty()) {
        m_source = args.takeAt(index);
        return Taken;
    }
    if (!arg.startsWith(QLatin1Char('-')) && m_destination.isEmpty()) {
        m_destination = args.takeAt(index);
        return Taken;
    }
    return Skipped;
}

SyncOptionParser::Step SyncOptionParser::takeFilter(QStringList& args, int index)
{
    const QString option = args.takeAt(index);
    const QString value = args.takeAt(index);
    const QSharedPointer<AbstractFilterItem> item = getFilter(option, value);
    if (!item) {
        if (m_command)
            m_command->print(QStringLiteral("Invalid arguments : ") + option + value);
        return Failed;
    }
    m_filter.append(item);
    return Taken;
}
