#include "cloud/wscopyobjectresultxmlreader.h"

const QString WSCopyObjectResultXmlReader::_copyObjectResultElement =
    QStringLiteral("CopyObjectResult");

WSCopyObjectResultXmlReader::WSCopyObjectResultXmlReader(
    const QSharedPointer<AbstractAccount>& account, const QByteArray& data)
    : WSXmlStreamReader(account, data)
{
}

void WSCopyObjectResultXmlReader::readDocument()
{
    walkDocument(_copyObjectResultElement, [this] { readCopyObjectResult(); });
}

void WSCopyObjectResultXmlReader::readCopyObjectResult()
{
    while (readNextChildOf(_copyObjectResultElement)) {
        if (name() == _eTagXmlElement)
            m_eTag = md5FromETag(readText());
        else if (name() == _lastModifiedXmlElement)
            m_lastModified = dateFromXml(readText());
    }
}
