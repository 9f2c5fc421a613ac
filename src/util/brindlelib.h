#ifndef BRINDLELIB_H
#define BRINDLELIB_H

#include <QFlags>
#include <QString>

// Enumerations and process-wide values shared by every subsystem.
namespace BrindleLib {

enum Protocol { ProtocolHttp = 0, ProtocolHttps = 1 };

enum RequestStyle { RequestStyleVirtualHost = 0, RequestStylePath = 1 };

// What a copy does with a target that exists: ask, overwrite (once, always),
// skip (once, always).
enum OverwriteMode {
    OverwriteAsk = 0,
    OverwriteOnce = 1,
    OverwriteAlways = 2,
    SkipOnce = 3,
    SkipAlways = 4
};

inline bool isOverwrite(OverwriteMode mode)
{
    return mode == OverwriteOnce || mode == OverwriteAlways;
}

inline bool isSkip(OverwriteMode mode)
{
    return mode == SkipOnce || mode == SkipAlways;
}

enum EntryListMode { ListOneLevel = 0, ListSubtree = 1 };

// What a local listing keeps beyond plain entries, and whether it follows links.
enum ListEntry { IncludeHidden = 0x1, IncludeSystem = 0x2, IgnoreSymLinks = 0x4 };
Q_DECLARE_FLAGS(ListEntries, ListEntry)

// Current objects only, or every version and delete marker.
enum ListVersionMode { ListCurrentVersions = 0, ListAllVersions = 2 };

// The tool only ever holds 0 and copies it.
enum VersioningState { VersioningUnset = 0 };

// Seconds to add to the local clock to get the store's clock.
int timeOffset();
void setTimeOffset(int seconds);

// text on one line for a message: control characters, such as a newline in an
// object key, written as escapes (\n, \x1b)
QString printable(const QString& text);

} // namespace BrindleLib

Q_DECLARE_OPERATORS_FOR_FLAGS(BrindleLib::ListEntries)

#endif
