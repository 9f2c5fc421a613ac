#include "cloud/wsliststreamreader.h"

WSListStreamReader::WSListStreamReader(const QSharedPointer<AbstractAccount>& account,
                                       const QSharedPointer<AbstractS3Folder>& container,
                                       const QByteArray& data,
                                       BrindleLib::EntryListMode entryListMode,
                                       const Filter& filter)
    : AbstractWSListStreamReader(account, container, data, entryListMode, filter)
{
}

void WSListStreamReader::readDocument()
{
    walkDocument(_listBucketResultXmlElement, [this] { readListBucketResult(); });
}

void WSListStreamReader::readListBucketResult()
{
    // No order is assumed: stores differ in where prefixes and markers come.
    while (readNextChildOf(_listBucketResultXmlElement)) {
        if (readListChild())
            continue;
        if (name() == _contentsXmlElement)
            readContent();
        else if (name() == _nextMarkerXmlElement)
            m_nextMarker = readText();
    }
}

void WSListStreamReader::readContent()
{
    const Entry entry = readEntry(_contentsXmlElement);
    if (!isBelowContainer(entry.key))
        return;
    if (isFolderKey(entry.key))
        folderObject(entry.key, entry.owner);
    else
        addFile(entry);
}
