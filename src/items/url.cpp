#include "items/url.h"

#include <QRegularExpression>

namespace {

bool isDottedIpv4(const QString& name)
{
    static const QRegularExpression ipv4(QRegularExpression::anchoredPattern(QStringLiteral(
        "(25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)(\\.(25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)){3}")));
    return ipv4.match(name).hasMatch();
}

bool isDnsCharacter(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z'))
        || (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('.')
        || c == QLatin1Char('-');
}

} // namespace

bool Url::isDnsCompatible(const QString& name)
{
    if (name.size() < 3 || name.size() >= 64)
        return false;
    if (name.at(0) == QChar(0x0001))
        return false;
    if (isDottedIpv4(name))
        return false;
    const QChar dot = QLatin1Char('.');
    const QChar dash = QLatin1Char('-');
    QChar previous;
    for (const QChar c : name) {
        if (!isDnsCharacter(c))
            return false;
        if (c == dot && (previous == dash || previous == dot))
            return false;
        if (c == dash && previous == dot)
            return false;
        previous = c;
    }
    return name.back() != dash;
}
