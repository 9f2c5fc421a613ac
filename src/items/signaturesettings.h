#ifndef SIGNATURESETTINGS_H
#define SIGNATURESETTINGS_H

#include <QByteArray>
#include <QHash>
#include <QSharedPointer>
#include <QString>

#include "util/fastmutex.h"

class AbstractAccount;

// How the requests of one account are signed: the version the user asked
// for, whether the automatic choice has moved on to Version 4, and the region
// each bucket answers for. Read by every handler thread, hence locked.
class SignatureSettings
{
public:
    // The settings of an account, made on first use and kept as long as the
    // account lives; an account made later at the same address starts afresh.
    static QSharedPointer<SignatureSettings> of(const QSharedPointer<AbstractAccount>& account);
    // 2 or 4: what the account's next request is signed with. Google keeps
    // its own scheme whatever the settings say.
    static int versionFor(const QSharedPointer<AbstractAccount>& account);

    enum Choice { Automatic = 0, Version2 = 2, Version4 = 4 };

    Choice choice() const;
    void setChoice(Choice choice);
    // 2 or 4: what the next request is signed with.
    int version() const;
    // Moves an automatic choice to Version 4; true only for the call that
    // made the move, so that it is reported once.
    bool switchToVersion4();

    // The region a bucket was found in, else the default region.
    QByteArray region(const QString& bucket) const;
    QByteArray defaultRegion() const;
    void setDefaultRegion(const QByteArray& region);
    // True when the region differs from the one the bucket had.
    bool learnRegion(const QString& bucket, const QByteArray& region);

    // A name that may stand in a credential scope: letters, digits, ".", "-"
    // and "_", starting with a letter or digit, at most 64 characters.
    static bool isValidRegion(const QString& region);
    static const QByteArray _defaultRegion;

private:
    mutable FastMutex m_mutex;
    Choice m_choice = Automatic;
    bool m_switched = false;
    QByteArray m_defaultRegion = _defaultRegion;
    QHash<QString, QByteArray> m_regions;
};

#endif
