#ifndef FILTERITEM_H
#define FILTERITEM_H

#include <QSharedPointer>
#include <QString>
#include <QtCore5Compat/QRegExp>

#include "util/fastmutex.h"

class AbstractItem;

// One filter option: a pattern that includes or excludes files.
class AbstractFilterItem
{
public:
    enum Directive { Include = 0, Exclude = 1 };

    explicit AbstractFilterItem(Directive directive) : m_directive(directive) {}
    virtual ~AbstractFilterItem() = default;
    AbstractFilterItem(const AbstractFilterItem&) = delete;
    AbstractFilterItem& operator=(const AbstractFilterItem&) = delete;

    Directive directive() const { return m_directive; }

    virtual QString filterName() const = 0;
    virtual int filterType() const = 0;
    virtual bool match(const QSharedPointer<AbstractItem>& item) const = 0;

private:
    const Directive m_directive;
};

// A filter item with a QRegExp that must match a whole text. Matching changes
// the QRegExp, so listings on several threads take turns through the lock.
class RegExpFilterItem : public AbstractFilterItem
{
public:
    RegExpFilterItem(Directive directive, const QRegExp& regExp);

    QRegExp regExp() const;

protected:
    bool exactMatch(const QString& text) const;

private:
    mutable FastMutex m_mutex;
    mutable QRegExp m_regExp;
};

// Matches the pattern against the item's name.
class FileNameFilterItem : public RegExpFilterItem
{
public:
    FileNameFilterItem(Directive directive, const QRegExp& regExp)
        : RegExpFilterItem(directive, regExp)
    {
    }

    QString filterName() const override;
    int filterType() const override { return 0; }
    bool match(const QSharedPointer<AbstractItem>& item) const override;
};

// Matches the pattern against the item's whole path, "/" separated.
class FilePathFilterItem : public RegExpFilterItem
{
public:
    FilePathFilterItem(Directive directive, const QRegExp& regExp)
        : RegExpFilterItem(directive, regExp)
    {
    }

    QString filterName() const override;
    int filterType() const override { return 1; }
    bool match(const QSharedPointer<AbstractItem>& item) const override;
};

#endif
