#ifndef METADATA_H
#define METADATA_H

#include <QList>

#include "net/httpfield.h"

// An ordered list of fields in which a name, in any case, is held at most once:
// setting a name again replaces the old field and moves the name to the end.
// Used alike for message heads and for an object's user metadata.
class Metadata
{
public:
    bool isEmpty() const { return m_fields.isEmpty(); }
    int count() const { return int(m_fields.count()); }
    const HttpField& at(int i) const { return m_fields.at(i); }
    const HttpField& operator[](int i) const { return m_fields.at(i); }
    HttpField& operator[](int i) { return m_fields[i]; }

    // Lookups ignore the case of the name.
    bool contains(const QByteArray& key) const;
    HttpField field(const QByteArray& key) const;

    void append(const HttpField& field);
    void append(const Metadata& other);
    // Adds the field at the end even when its name is held already: only for
    // the lists that must keep a repeated name, such as the signed headers.
    void appendDuplicate(const HttpField& field) { m_fields.append(field); }
    void remove(const QByteArray& key);
    void remove(const QList<QByteArray>& keys);
    void sort();

    // Drops every field that is neither a standard user header nor
    // an "x-amz-meta-" / "x-goog-meta-" field.
    void keepUserKeys();

    // Same fields, in any order, names and values compared in any case.
    bool operator==(const Metadata& other) const;
    bool operator!=(const Metadata& other) const { return !(*this == other); }

    // Standard headers that belong to an object's own metadata.
    static QList<QByteArray> userKeys();
    // Fields that describe this program's processing and must not survive a rewrite.
    static QList<QByteArray> specialKeys();

private:
    QList<HttpField> m_fields;
};

Q_DECLARE_METATYPE(Metadata)

#endif
