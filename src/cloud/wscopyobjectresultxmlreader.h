#ifndef WSCOPYOBJECTRESULTXMLREADER_H
#define WSCOPYOBJECTRESULTXMLREADER_H

#include "cloud/wsxmlstreamreader.h"

// Reads the answer to a server-side copy. A store may answer a failed copy
// with 200 and an Error document, so the caller checks error() first.
class WSCopyObjectResultXmlReader : public WSXmlStreamReader
{
public:
    explicit WSCopyObjectResultXmlReader(const QSharedPointer<AbstractAccount>& account,
                                         const QByteArray& data = QByteArray());

    void readDocument() override;

    QDateTime lastModified() const { return m_lastModified; }
    // The new object's ETag as raw bytes.
    QByteArray eTag() const { return m_eTag; }

    static const QString _copyObjectResultElement;

private:
    void readCopyObjectResult();

    QDateTime m_lastModified;
    QByteArray m_eTag;
};

#endif
