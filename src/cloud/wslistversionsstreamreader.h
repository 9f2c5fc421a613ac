#ifndef WSLISTVERSIONSSTREAMREADER_H
#define WSLISTVERSIONSSTREAMREADER_H

#include "cloud/abstractwsliststreamreader.h"

// Reads one page of a version listing ("ListVersionsResult") below
// container. Every version of an object is a file of its own, a delete
// marker too (a file that carries the marker); the versions and markers of a
// folder's own object go onto the folder.
class WSListVersionsStreamReader : public AbstractWSListStreamReader
{
public:
    WSListVersionsStreamReader(const QSharedPointer<AbstractAccount>& account,
                               const QSharedPointer<AbstractS3Folder>& container,
                               const QByteArray& data, BrindleLib::EntryListMode entryListMode,
                               const Filter& filter = Filter());

    void readDocument() override;

    // Where the next page starts: "NextKeyMarker" and "NextVersionIdMarker",
    // or when the page is truncated without them the last entry's key and
    // version.
    QString nextKeyMarker() const { return pagingMarker(m_nextKeyMarker); }
    QByteArray nextVersionIdMarker() const;

private:
    void readListVersionsResult();
    void readContent(bool deleteMarker);

    QString m_nextKeyMarker;
    QByteArray m_nextVersionIdMarker;
    QByteArray m_lastVersionId;
};

#endif
