#include "cloud/wsxmlstreamreader.h"

#include <QDomDocument>

#include "items/abstractaccount.h"
#include "items/driver.h"

const QString WSXmlStreamReader::_codeXmlElement = QStringLiteral("Code");
const QString WSXmlStreamReader::_commonPrefixesXmlElement = QStringLiteral("CommonPrefixes");
const QString WSXmlStreamReader::_contentsXmlElement = QStringLiteral("Contents");
const QString WSXmlStreamReader::_deleteMarkerXmlElement = QStringLiteral("DeleteMarker");
const QString WSXmlStreamReader::_displayNameXmlElement = QStringLiteral("DisplayName");
const QString WSXmlStreamReader::_eTagXmlElement = QStringLiteral("ETag");
const QString WSXmlStreamReader::_endpointXmlElement = QStringLiteral("Endpoint");
const QString WSXmlStreamReader::_errorXmlElement = QStringLiteral("Error");
const QString WSXmlStreamReader::_idXmlElement = QStringLiteral("ID");
const QString WSXmlStreamReader::_isLatestXmlElement = QStringLiteral("IsLatest");
const QString WSXmlStreamReader::_isTruncatedXmlElement = QStringLiteral("IsTruncated");
const QString WSXmlStreamReader::_keyXmlElement = QStringLiteral("Key");
const QString WSXmlStreamReader::_lastModifiedXmlElement = QStringLiteral("LastModified");
const QString WSXmlStreamReader::_listBucketResultXmlElement = QStringLiteral("ListBucketResult");
const QString WSXmlStreamReader::_listBucketVersionResultXmlElement =
    QStringLiteral("ListVersionsResult");
const QString WSXmlStreamReader::_listVersionResultXmlElement = QStringLiteral("ListVersionsResult");
const QString WSXmlStreamReader::_messageXmlElement = QStringLiteral("Message");
const QString WSXmlStreamReader::_nextKeyMarkerXmlElement = QStringLiteral("NextKeyMarker");
const QString WSXmlStreamReader::_nextMarkerXmlElement = QStringLiteral("NextMarker");
const QString WSXmlStreamReader::_nextVersionIdMarkerXmlElement =
    QStringLiteral("NextVersionIdMarker");
const QString WSXmlStreamReader::_ownerXmlElement = QStringLiteral("Owner");
const QString WSXmlStreamReader::_prefixXmlElement = QStringLiteral("Prefix");
const QString WSXmlStreamReader::_sizeXmlElement = QStringLiteral("Size");
const QString WSXmlStreamReader::_storageClassXmlElement = QStringLiteral("StorageClass");
const QString WSXmlStreamReader::_versionIdXmlElement = QStringLiteral("VersionId");
const QString WSXmlStreamReader::_versionXmlElement = QStringLiteral("Version");
const QString WSXmlStreamReader::_reducedRedundancyXmlValue = QStringLiteral("REDUCED_REDUNDANCY");
const QString WSXmlStreamReader::_standardXmlValue = QStringLiteral("STANDARD");
const QString WSXmlStreamReader::_trueXmlValue = QStringLiteral("true");

WSXmlStreamReader::WSXmlStreamReader(const QSharedPointer<AbstractAccount>& account,
                                     const QByteArray& data)
    : QXmlStreamReader(data), m_account(account), m_data(data)
{
}

WSXmlStreamReader::~WSXmlStreamReader() = default;

void WSXmlStreamReader::addData(const QByteArray& piece)
{
    m_data.append(piece);
    QXmlStreamReader::addData(piece);
}

void WSXmlStreamReader::readDocument()
{
    walkDocument(QString(), nullptr);
}

void WSXmlStreamReader::walkDocument(const QString& root, const std::function<void()>& readRoot)
{
    while (!atEnd()) {
        if (readNext() != StartElement)
            continue;
        if (name() == _errorXmlElement)
            readError();
        else if (readRoot && name() == root)
            readRoot();
    }
}

bool WSXmlStreamReader::readNextChildOf(const QString& parent)
{
    while (!atEnd()) {
        const TokenType token = readNext();
        if (token == StartElement)
            return true;
        if (token == EndElement && name() == parent)
            return false;
    }
    return false;
}

QString WSXmlStreamReader::readText()
{
    // A leaf that unexpectedly holds elements gives its text rather than
    // ending the walk.
    return readElementText(SkipChildElements);
}

QByteArray WSXmlStreamReader::md5FromETag(QStringView text)
{
    if (text.startsWith(QLatin1Char('"')))
        text = text.mid(1);
    if (text.endsWith(QLatin1Char('"')))
        text.chop(1);
    return QByteArray::fromHex(text.toLatin1());
}

QDateTime WSXmlStreamReader::dateFromXml(QStringView text)
{
    return QDateTime::fromString(text.toString(), Qt::ISODate);
}

void WSXmlStreamReader::readError()
{
    // The whole answer, indented, is the detail that "-D" and the error block show.
    QString detail;
    QDomDocument document;
    if (document.setContent(m_data))
        detail = document.toString(1);

    QString code;
    QString message;
    QString endpoint;
    while (readNextChildOf(_errorXmlElement)) {
        if (name() == _codeXmlElement)
            code = readText();
        else if (name() == _messageXmlElement)
            message = readText();
        else if (name() == _endpointXmlElement)
            endpoint = readText();
    }
    m_error = OpError(OpError::ServiceError, code, message, detail);
    if (!endpoint.isEmpty())
        m_error.setEndPoint(endpoint);
}

QSharedPointer<AbstractUser> WSXmlStreamReader::readOwner(AbstractUser::UserType type)
{
    QByteArray id;
    QString displayName;
    bool hasDisplayName = false;
    while (readNextChildOf(_ownerXmlElement)) {
        if (name() == _idXmlElement) {
            id = readText().toLatin1();
        } else if (name() == _displayNameXmlElement) {
            displayName = readText();
            hasDisplayName = true;
        }
    }
    if (id.isEmpty() || !m_account)
        return QSharedPointer<AbstractUser>();

    const QString domain = AbstractUser::domainOf(m_account);
    QSharedPointer<AbstractUser> user;
    if (m_account->fileSystemType() == AbstractFS::GSFileSystem) {
        // Google names the owner of a project's buckets by its group.
        if (type == AbstractUser::NoUserType) {
            user = Driver::user(UserKey(domain, AbstractUser::GroupById, id));
            if (!user)
                user = Driver::user(UserKey(domain, AbstractUser::UserById, id));
            if (!user)
                user = Driver::createUser(m_account, AbstractUser::UserById, id);
        } else {
            user = Driver::createUser(m_account, type, id);
        }
    } else {
        user = Driver::user(UserKey(domain, AbstractUser::UserById, id));
        if (!user)
            user = Driver::createUser(m_account, type, id);
    }

    // Some stores name an owner by its access key: such a name never
    // replaces one that is known already.
    if (user && hasDisplayName && user->displayName() != displayName) {
        const bool isAccessKey = displayName == QString::fromUtf8(m_account->accessKey());
        if (!isAccessKey || user->displayName().isEmpty())
            user->setDisplayName(displayName);
    }
    return user;
}
