#ifndef HTTPFIELD_H
#define HTTPFIELD_H

#include <QByteArray>
#include <QMetaType>

// One header line or one metadata entry: a name and a value, kept as written.
class HttpField
{
public:
    HttpField() = default;
    HttpField(const QByteArray& key, const QByteArray& value);

    bool isNull() const { return m_key.isNull(); }
    QByteArray key() const { return m_key; }
    QByteArray value() const { return m_value; }
    void setValue(const QByteArray& value) { m_value = value; }

    // key + ":" + value, with one blank after the colon if withBlank.
    QByteArray toByteArray(bool withBlank = true) const;

    // Name and value both compared in any case.
    bool operator==(const HttpField& other) const;
    bool operator!=(const HttpField& other) const { return !(*this == other); }

private:
    QByteArray m_key;
    QByteArray m_value;
};

// Byte order of the keys, then of the values; case matters.
bool qHttpFieldLessThan(const HttpField& a, const HttpField& b);

Q_DECLARE_METATYPE(HttpField)

#endif
