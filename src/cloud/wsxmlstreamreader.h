#ifndef WSXMLSTREAMREADER_H
#define WSXMLSTREAMREADER_H

#include <QByteArray>
#include <QDateTime>
#include <QSharedPointer>
#include <QString>
#include <QXmlStreamReader>

#include <functional>

#include "items/abstractuser.h"
#include "util/operror.h"

class AbstractAccount;

// The base of the readers of a store's answers. A reader walks its document
// once, fills the tool's items and keeps the Error document it met. It never
// fails by itself: a body that is not well-formed ends the walk, and the
// caller has what was read up to there.
//
// Elements are matched by their local name alone, so every dialect (the real
// S3 namespace, a wrong one, a prefix, none) goes through the same code.
//
// Feed it the whole body at construction, or in pieces with addData() as it
// arrives, then call readDocument() once.
class WSXmlStreamReader : public QXmlStreamReader
{
public:
    explicit WSXmlStreamReader(const QSharedPointer<AbstractAccount>& account,
                               const QByteArray& data = QByteArray());
    virtual ~WSXmlStreamReader();

    WSXmlStreamReader(const WSXmlStreamReader&) = delete;
    WSXmlStreamReader& operator=(const WSXmlStreamReader&) = delete;

    // Appends the next piece of the body. It hides the parser's own addData,
    // which would leave the piece out of the copy that an error's detail is
    // made from.
    void addData(const QByteArray& piece);
    // The body received so far.
    QByteArray data() const { return m_data; }

    // Walks the whole document. This base reads only "Error" elements.
    virtual void readDocument();

    // The store's Error document; null when there was none. It hides the
    // parser's error(), which says why a walk ended early.
    OpError error() const { return m_error; }

    QSharedPointer<AbstractAccount> account() const { return m_account; }

    static const QString _codeXmlElement;
    static const QString _commonPrefixesXmlElement;
    static const QString _contentsXmlElement;
    static const QString _deleteMarkerXmlElement;
    static const QString _displayNameXmlElement;
    static const QString _eTagXmlElement;
    static const QString _endpointXmlElement;
    static const QString _errorXmlElement;
    static const QString _idXmlElement;
    static const QString _isLatestXmlElement;
    static const QString _isTruncatedXmlElement;
    static const QString _keyXmlElement;
    static const QString _lastModifiedXmlElement;
    static const QString _listBucketResultXmlElement;
    static const QString _listBucketVersionResultXmlElement;
    static const QString _listVersionResultXmlElement;
    static const QString _messageXmlElement;
    static const QString _nextKeyMarkerXmlElement;
    static const QString _nextMarkerXmlElement;
    static const QString _nextVersionIdMarkerXmlElement;
    static const QString _ownerXmlElement;
    static const QString _prefixXmlElement;
    static const QString _sizeXmlElement;
    static const QString _storageClassXmlElement;
    static const QString _versionIdXmlElement;
    static const QString _versionXmlElement;
    static const QString _reducedRedundancyXmlValue;
    static const QString _standardXmlValue;
    static const QString _trueXmlValue;

    // An ETag as raw bytes: one pair of quotes dropped, the hexadecimal
    // decoded. A multi-part ETag ("...-3") decodes only up to the dash and so
    // never equals a digest.
    static QByteArray md5FromETag(QStringView text);
    // A date of a document, with or without milliseconds.
    static QDateTime dateFromXml(QStringView text);

    // Reads the "Owner" element that the walk has just entered and returns
    // its user from the registry, registering it when it is new. type is the
    // kind of user the caller expects; Google's owners are looked up as
    // groups first. Null when the element has no "ID".
    QSharedPointer<AbstractUser> readOwner(AbstractUser::UserType type);
    // Reads the "Error" element that the walk has just entered into error().
    void readError();

    // The walking steps, for the readers here and for documents read
    // elsewhere through a plain WSXmlStreamReader (ACLs).

    // Walks the whole document, calling readRoot at each start element
    // called root and readError() at each "Error".
    void walkDocument(const QString& root, const std::function<void()>& readRoot);
    // Moves to the next start element inside the element called parent;
    // false at its end element or at the end of the input. An element that
    // the caller does not know is passed over by calling it again.
    bool readNextChildOf(const QString& parent);
    // The text of the leaf element just entered.
    QString readText();
    bool readFlag() { return readText() == _trueXmlValue; }

private:
    OpError m_error;
    const QSharedPointer<AbstractAccount> m_account;
    QByteArray m_data;
};

#endif
