#ifndef WSLISTSTREAMREADER_H
#define WSLISTSTREAMREADER_H

#include "cloud/abstractwsliststreamreader.h"

// Reads one page of a key listing ("ListBucketResult") below container.
// Keys that end in the delimiter are folders' own objects, the others files;
// see the base for the two list modes.
class WSListStreamReader : public AbstractWSListStreamReader
{
public:
    WSListStreamReader(const QSharedPointer<AbstractAccount>& account,
                       const QSharedPointer<AbstractS3Folder>& container, const QByteArray& data,
                       BrindleLib::EntryListMode entryListMode, const Filter& filter = Filter());

    void readDocument() override;

    // Where the next page starts: "NextMarker", or when the page is truncated
    // without one (no delimiter was sent) the last key of the page.
    QString nextMarker() const { return pagingMarker(m_nextMarker); }

private:
    void readListBucketResult();
    void readContent();

    QString m_nextMarker;
};

#endif
