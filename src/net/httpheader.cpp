#include "net/httpheader.h"

#include <cctype>

const QByteArray HttpHeader::_contentLengthHeaderName("Content-Length");

const QByteArray HttpRequestHeader::_getMethod("GET");
const QByteArray HttpRequestHeader::_putMethod("PUT");
const QByteArray HttpRequestHeader::_postMethod("POST");
const QByteArray HttpRequestHeader::_headMethod("HEAD");
const QByteArray HttpRequestHeader::_deleteMethod("DELETE");

QByteArray HttpHeader::toByteArray() const
{
    QByteArray text;
    if (!isValid())
        return text;
    for (int i = 0; i < m_fields.count(); ++i)
        text += m_fields.at(i).toByteArray(true) + "\r\n";
    return text;
}

Metadata HttpHeader::metaData() const
{
    Metadata user = m_fields;
    user.keepUserKeys();
    return user;
}

void HttpHeader::setContentLength(qint64 length)
{
    addField(HttpField(_contentLengthHeaderName, QByteArray::number(length)));
}

qint64 HttpHeader::contentLength() const
{
    bool ok = false;
    const qint64 length = field(_contentLengthHeaderName).value().toLongLong(&ok);
    return ok ? length : 0;
}

void HttpHeader::setContentType(const QByteArray& type)
{
    addField(HttpField("Content-Type", type));
}

bool HttpHeader::parse(const QByteArray& text)
{
    QByteArray normalised = text.trimmed();
    normalised.replace("\r\n", "\n");
    const QList<QByteArray> pieces = normalised.trimmed().split('\n');

    QList<QByteArray> lines;
    for (const QByteArray& piece : pieces) {
        if (piece.isEmpty())
            continue;
        if (std::isspace(static_cast<unsigned char>(piece.at(0)))) {
            // A continuation of the previous line; one with nothing before it is noise.
            if (!lines.isEmpty())
                lines.last() += ' ' + piece.trimmed();
            continue;
        }
        lines.append(piece);
    }

    for (int i = 0; i < lines.count(); ++i) {
        if (!parseLine(lines.at(i), i)) {
            setValid(false);
            return false;
        }
    }
    return true;
}

bool HttpHeader::parseLine(const QByteArray& line, int)
{
    const int colon = int(line.indexOf(':'));
    if (colon < 0)
        return false;
    addField(HttpField(line.left(colon).trimmed(), line.mid(colon + 1).trimmed()));
    return true;
}

HttpRequestHeader::HttpRequestHeader()
{
    setValid(false);
}

HttpRequestHeader::HttpRequestHeader(Method method, const QUrl& url, int major, int minor)
    : m_method(method), m_url(url), m_major(major), m_minor(minor)
{
    if (m_url.toEncoded().isEmpty())
        m_url.setPath(QStringLiteral("/"));
}

QByteArray HttpRequestHeader::methodString(Method method)
{
    switch (method) {
    case GetMethod:
        return _getMethod;
    case PutMethod:
        return _putMethod;
    case PostMethod:
        return _postMethod;
    case HeadMethod:
        return _headMethod;
    case DeleteMethod:
        return _deleteMethod;
    }
    return QByteArray();
}

QByteArray HttpRequestHeader::path() const
{
    if (!m_cachingProxyInUse) {
        QByteArray target = m_url.path(QUrl::FullyEncoded).toLatin1();
        if (m_url.hasQuery())
            target += '?' + m_url.query(QUrl::FullyEncoded).toLatin1();
        return target;
    }
    // Absolute form for a proxy. Only ever used in the clear, hence always "http".
    QUrl base;
    base.setScheme(QStringLiteral("http"));
    base.setHost(m_url.host());
    if (m_url.port() > 0)
        base.setPort(m_url.port());
    const QUrl reread = QUrl::fromEncoded(m_url.toEncoded(), QUrl::StrictMode);
    return base.resolved(reread).toEncoded();
}

QByteArray HttpRequestHeader::toByteArray() const
{
    if (!isValid())
        return QByteArray();
    // The version on the wire is fixed, whatever the head was built with.
    return methodString(m_method) + ' ' + path() + " HTTP/1.1\r\n" + HttpHeader::toByteArray()
        + "\r\n";
}

bool HttpRequestHeader::parseLine(const QByteArray& line, int number)
{
    return HttpHeader::parseLine(line, number);
}

HttpResponseHeader::HttpResponseHeader()
{
    setValid(false);
}

HttpResponseHeader::HttpResponseHeader(const QByteArray& text) : m_response(text)
{
    parse(text);
}

QByteArray HttpResponseHeader::toByteArray() const
{
    return isValid() ? m_response : QByteArray();
}

void HttpResponseHeader::addToResponse(const QByteArray& line)
{
    m_response += "\r\n" + line;
}

bool HttpResponseHeader::parseLine(const QByteArray& line, int number)
{
    if (number > 0)
        return HttpHeader::parseLine(line, number);
    return parseStatusLine(line);
}

bool HttpResponseHeader::parseStatusLine(const QByteArray& raw)
{
    const QByteArray line = raw.simplified();
    if (line.size() < 10)
        return false;
    const auto digit = [&](int i) { return std::isdigit(static_cast<unsigned char>(line.at(i))); };
    if (!line.startsWith("HTTP/") || !digit(5) || line.at(6) != '.' || !digit(7)
        || line.at(8) != ' ' || !digit(9))
        return false;

    m_major = line.at(5) - '0';
    m_minor = line.at(7) - '0';
    const int blank = int(line.indexOf(' ', 9));
    if (blank >= 0) {
        m_reasonPhrase = line.mid(blank + 1);
        m_statusCode = line.mid(9, blank - 9).toInt();
    } else {
        m_reasonPhrase.clear();
        m_statusCode = line.mid(9).toInt();
    }
    return true;
}
