#include "cloud/wslistversionsstreamreader.h"

#include "items/abstractwsfolder.h"

WSListVersionsStreamReader::WSListVersionsStreamReader(
    const QSharedPointer<AbstractAccount>& account,
    const QSharedPointer<AbstractS3Folder>& container, const QByteArray& data,
    BrindleLib::EntryListMode entryListMode, const Filter& filter)
    : AbstractWSListStreamReader(account, container, data, entryListMode, filter)
{
}

void WSListVersionsStreamReader::readDocument()
{
    walkDocument(_listVersionResultXmlElement, [this] { readListVersionsResult(); });
}

QByteArray WSListVersionsStreamReader::nextVersionIdMarker() const
{
    if (m_nextKeyMarker.isEmpty() && isTruncated())
        return m_lastVersionId;
    return m_nextVersionIdMarker;
}

void WSListVersionsStreamReader::readListVersionsResult()
{
    while (readNextChildOf(_listVersionResultXmlElement)) {
        if (readListChild())
            continue;
        if (name() == _versionXmlElement)
            readContent(false);
        else if (name() == _deleteMarkerXmlElement)
            readContent(true);
        else if (name() == _nextKeyMarkerXmlElement)
            m_nextKeyMarker = readText();
        else if (name() == _nextVersionIdMarkerXmlElement)
            m_nextVersionIdMarker = readText().toLatin1();
    }
}

void WSListVersionsStreamReader::readContent(bool deleteMarker)
{
    const Entry entry = readEntry(deleteMarker ? _deleteMarkerXmlElement : _versionXmlElement);
    m_lastVersionId = entry.versionId;
    if (!isBelowContainer(entry.key))
        return;

    DeleteMarker marker;
    if (deleteMarker)
        marker = DeleteMarker(entry.key, entry.versionId, entry.isLatest, entry.lastModified,
                              container(), entry.owner ? entry.owner->id() : QByteArray());

    if (isFolderKey(entry.key)) {
        const QSharedPointer<AbstractWSFolder> folder = folderObject(entry.key, entry.owner);
        if (!folder)
            return;
        if (deleteMarker)
            folder->addToDeleteMarkerList(marker);
        else
            folder->addToVersionIdList(entry.versionId);
        return;
    }
    addFile(entry, marker);
}
