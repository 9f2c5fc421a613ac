#ifndef RECORDEDANSWERS_H
#define RECORDEDANSWERS_H

#include <QtTest>

// A store's answer recorded in data/ beside this file.
inline QByteArray recordedAnswer(const QString& name)
{
    QFile file(QFINDTESTDATA(QStringLiteral("data/") + name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("recorded answer %s is missing", qPrintable(name));
    return file.readAll();
}

inline QDateTime utc(int y, int mo, int d, int h, int mi, int s, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::UTC);
}

#endif
