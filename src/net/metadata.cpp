#include "net/metadata.h"

#include <algorithm>

#include "util/fastmutex.h"

namespace {

FastMutex global_userKeysMutex;
QList<QByteArray> global_systemKeys;

FastMutex global_specialKeysMutex;
QList<QByteArray> global_specialKeys;

bool sameName(const QByteArray& a, const QByteArray& b)
{
    return qstricmp(a.constData(), b.constData()) == 0;
}

bool containsName(const QList<QByteArray>& names, const QByteArray& name)
{
    return std::any_of(names.cbegin(), names.cend(),
                       [&](const QByteArray& n) { return sameName(n, name); });
}

} // namespace

bool Metadata::contains(const QByteArray& key) const
{
    return !field(key).isNull();
}

HttpField Metadata::field(const QByteArray& key) const
{
    for (const HttpField& f : m_fields) {
        if (sameName(f.key(), key))
            return f;
    }
    return HttpField();
}

void Metadata::append(const HttpField& field)
{
    remove(field.key());
    m_fields.append(field);
}

void Metadata::append(const Metadata& other)
{
    for (const HttpField& f : other.m_fields)
        append(f);
}

void Metadata::remove(const QByteArray& key)
{
    m_fields.removeIf([&](const HttpField& f) { return sameName(f.key(), key); });
}

void Metadata::remove(const QList<QByteArray>& keys)
{
    m_fields.removeIf([&](const HttpField& f) { return containsName(keys, f.key()); });
}

void Metadata::sort()
{
    std::sort(m_fields.begin(), m_fields.end(), qHttpFieldLessThan);
}

void Metadata::keepUserKeys()
{
    const QList<QByteArray> keep = userKeys();
    m_fields.removeIf([&](const HttpField& f) {
        return !containsName(keep, f.key()) && !f.key().startsWith("x-amz-meta-")
            && !f.key().startsWith("x-goog-meta-");
    });
}

bool Metadata::operator==(const Metadata& other) const
{
    if (count() != other.count())
        return false;
    return std::all_of(m_fields.cbegin(), m_fields.cend(), [&](const HttpField& f) {
        return other.m_fields.contains(f);
    });
}

QList<QByteArray> Metadata::userKeys()
{
    FastMutexLocker locker(global_userKeysMutex);
    if (global_systemKeys.isEmpty()) {
        global_systemKeys = { "Content-Disposition", "Cache-Control", "Content-Encoding",
                              "Content-Language",    "Content-Type",  "Expires" };
    }
    return global_systemKeys;
}

QList<QByteArray> Metadata::specialKeys()
{
    FastMutexLocker locker(global_specialKeysMutex);
    if (global_specialKeys.isEmpty()) {
        global_specialKeys = { "x-goog-meta-brindlebox-encryption",
                               "x-goog-meta-brindlebox-etag",
                               "x-goog-meta-brindlebox-content-length",
                               "x-amz-meta-brindlebox-encryption",
                               "x-amz-meta-brindlebox-etag",
                               "Content-Encoding",
                               "x-amz-meta-brindlebox-content-length" };
    }
    return global_specialKeys;
}
