#ifndef ID_H
#define ID_H

#include <QString>

// The identifier of an account: an opaque text, unique within a run.
class Id
{
public:
    Id() = default;
    explicit Id(const QString& value) : m_value(value) {}

    QString toString() const { return m_value; }
    bool isEmpty() const { return m_value.isEmpty(); }

    bool operator==(const Id& other) const { return m_value == other.m_value; }
    bool operator!=(const Id& other) const { return m_value != other.m_value; }

private:
    QString m_value;
};

#endif
