#include "frontend/getfilter.h"

#include <QStringList>

namespace {

struct FilterSettings
{
    AbstractFilterItem::Directive directive = AbstractFilterItem::Exclude;
    Qt::CaseSensitivity caseSensitivity = Qt::CaseSensitive;
    QRegExp::PatternSyntax syntax = QRegExp::Wildcard;
    bool onPath = false;
};

// Applies one part of the option; false for a part that means nothing. The
// comparison is exact: upper case is an error here.
bool applyPart(const QString& part, FilterSettings* settings)
{
    if (part == QLatin1String("include"))
        settings->directive = AbstractFilterItem::Include;
    else if (part == QLatin1String("exclude"))
        settings->directive = AbstractFilterItem::Exclude;
    else if (part == QLatin1String("cs"))
        settings->caseSensitivity = Qt::CaseSensitive;
    else if (part == QLatin1String("ci"))
        settings->caseSensitivity = Qt::CaseInsensitive;
    else if (part == QLatin1String("wildcard"))
        settings->syntax = QRegExp::Wildcard;
    else if (part == QLatin1String("wildcardunix"))
        settings->syntax = QRegExp::WildcardUnix;
    else if (part == QLatin1String("regexp"))
        settings->syntax = QRegExp::RegExp;
    else if (part == QLatin1String("regexp2"))
        settings->syntax = QRegExp::RegExp2;
    else if (part == QLatin1String("filename"))
        settings->onPath = false;
    else if (part == QLatin1String("filepath"))
        settings->onPath = true;
    else
        return false;
    return true;
}

} // namespace

QSharedPointer<AbstractFilterItem> getFilter(const QString& option, const QString& value)
{
    FilterSettings settings;
    const QStringList parts = option.mid(2).split(QLatin1Char('-'), Qt::KeepEmptyParts);
    for (const QString& part : parts) {
        if (!applyPart(part, &settings))
            return QSharedPointer<AbstractFilterItem>();
    }
    const QRegExp regExp(value, settings.caseSensitivity, settings.syntax);
    if (settings.onPath)
        return QSharedPointer<FilePathFilterItem>::create(settings.directive, regExp);
    return QSharedPointer<FileNameFilterItem>::create(settings.directive, regExp);
}
