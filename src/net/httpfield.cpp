#include "net/httpfield.h"

HttpField::HttpField(const QByteArray& key, const QByteArray& value)
    : m_key(key), m_value(value)
{
}

QByteArray HttpField::toByteArray(bool withBlank) const
{
    return m_key + (withBlank ? ": " : ":") + m_value;
}

bool HttpField::operator==(const HttpField& other) const
{
    return qstricmp(m_key.constData(), other.m_key.constData()) == 0
        && qstricmp(m_value.constData(), other.m_value.constData()) == 0;
}

bool qHttpFieldLessThan(const HttpField& a, const HttpField& b)
{
    const int byKey = qstrcmp(a.key(), b.key());
    if (byKey != 0)
        return byKey < 0;
    return qstrcmp(a.value(), b.value()) < 0;
}
