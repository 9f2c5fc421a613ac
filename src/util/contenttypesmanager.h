#ifndef CONTENTTYPESMANAGER_H
#define CONTENTTYPESMANAGER_H

#include <QHash>
#include <QMutex>
#include <QString>

// The process-wide table from file extension to the "Content-Type" that an
// upload sends.
class ContentTypesManager
{
public:
    ContentTypesManager();
    ContentTypesManager(const ContentTypesManager&) = delete;
    ContentTypesManager& operator=(const ContentTypesManager&) = delete;

    static ContentTypesManager* instance();

    // The content type of an extension in any case; "application/octet-stream"
    // for one that isn't known.
    QString get(const QString& extension) const;

private:
    static void initialize(QHash<QString, QString>& types);

    mutable QMutex m_mutex;
    QHash<QString, QString> m_types;
};

// The text after the last ".", or a null string for a name without one.
QString fileExtension(const QString& name);

#endif
