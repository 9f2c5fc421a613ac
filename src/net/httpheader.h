#ifndef HTTPHEADER_H
#define HTTPHEADER_H

#include <QUrl>

#include "net/metadata.h"

// One HTTP/1.1 message head. The fields live in a Metadata list, so a whole head
// (or its user part) can be handed on as an object's metadata as it is. Names keep
// the case they were written in; every lookup ignores case.
class HttpHeader
{
public:
    HttpHeader() = default;
    virtual ~HttpHeader() = default;

    virtual QByteArray toByteArray() const;
    virtual int majorVersion() const = 0;
    virtual int minorVersion() const = 0;

    void addField(const HttpField& field) { m_fields.append(field); }
    void addFields(const Metadata& fields) { m_fields.append(fields); }
    HttpField field(const QByteArray& key) const { return m_fields.field(key); }
    bool contains(const QByteArray& key) const { return m_fields.contains(key); }
    void remove(const QByteArray& key) { m_fields.remove(key); }

    // Every field.
    Metadata metadata() const { return m_fields; }
    // Only the fields that are an object's user metadata.
    Metadata metaData() const;

    void setContentLength(qint64 length);
    qint64 contentLength() const;
    bool containsContentLength() const { return contains(_contentLengthHeaderName); }
    void setContentType(const QByteArray& type);
    bool containsContentType() const { return contains("Content-Type"); }
    bool hasContentEncoding() const { return contains("Content-Encoding"); }
    QByteArray contentEncoding() const { return field("Content-Encoding").value(); }

    bool isValid() const { return m_valid; }
    void setValid(bool valid) { m_valid = valid; }

    static const QByteArray _contentLengthHeaderName;

protected:
    // Unfolds continuation lines and hands each line to parseLine.
    bool parse(const QByteArray& text);
    virtual bool parseLine(const QByteArray& line, int number);

private:
    Metadata m_fields;
    bool m_valid = true;
};

class HttpRequestHeader : public HttpHeader
{
public:
    enum Method { GetMethod = 0, PutMethod = 1, PostMethod = 2, HeadMethod = 3, DeleteMethod = 4 };

    HttpRequestHeader();
    HttpRequestHeader(Method method, const QUrl& url, int major = 1, int minor = 1);

    QByteArray toByteArray() const override;
    int majorVersion() const override { return m_major; }
    int minorVersion() const override { return m_minor; }

    Method method() const { return m_method; }
    QUrl url() const { return m_url; }
    // The request target: origin form, or absolute form through a caching proxy.
    QByteArray path() const;
    void setCachingProxyInUse(bool inUse) { m_cachingProxyInUse = inUse; }

    static QByteArray methodString(Method method);

    static const QByteArray _getMethod;
    static const QByteArray _putMethod;
    static const QByteArray _postMethod;
    static const QByteArray _headMethod;
    static const QByteArray _deleteMethod;

protected:
    bool parseLine(const QByteArray& line, int number) override;

private:
    Method m_method = GetMethod;
    QUrl m_url;
    bool m_cachingProxyInUse = false;
    int m_major = 1;
    int m_minor = 1;
};

class HttpResponseHeader : public HttpHeader
{
public:
    HttpResponseHeader();
    explicit HttpResponseHeader(const QByteArray& text);

    // The head exactly as received, not rebuilt from the fields.
    QByteArray toByteArray() const override;
    int majorVersion() const override { return m_major; }
    int minorVersion() const override { return m_minor; }

    int statusCode() const { return m_statusCode; }
    void setStatusCode(int code) { m_statusCode = code; }
    QByteArray reasonPhrase() const { return m_reasonPhrase; }
    void setReasonPhrase(const QByteArray& phrase) { m_reasonPhrase = phrase; }
    void addToResponse(const QByteArray& line);

protected:
    bool parseLine(const QByteArray& line, int number) override;

private:
    bool parseStatusLine(const QByteArray& line);

    int m_statusCode = -1;
    QByteArray m_reasonPhrase;
    int m_major = -1;
    int m_minor = -1;
    QByteArray m_response;
};

Q_DECLARE_METATYPE(HttpResponseHeader)

#endif
