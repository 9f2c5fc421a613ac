#include "items/signaturesettings.h"

#include <QRegularExpression>
#include <QWeakPointer>

#include "items/abstractaccount.h"

const QByteArray SignatureSettings::_defaultRegion = QByteArrayLiteral("us-east-1");

namespace {

struct AccountSettings
{
    QWeakPointer<AbstractAccount> account;
    QSharedPointer<SignatureSettings> settings;
};

FastMutex global_settingsMutex;
QHash<const AbstractAccount*, AccountSettings> global_settings;

} // namespace

QSharedPointer<SignatureSettings> SignatureSettings::of(const QSharedPointer<AbstractAccount>& account)
{
    FastMutexLocker locker(global_settingsMutex);
    AccountSettings& entry = global_settings[account.data()];
    if (!entry.settings || entry.account.toStrongRef() != account) {
        entry.account = account;
        entry.settings = QSharedPointer<SignatureSettings>::create();
    }
    return entry.settings;
}

int SignatureSettings::versionFor(const QSharedPointer<AbstractAccount>& account)
{
    if (account->fileSystemType() == AbstractFS::GSFileSystem)
        return 2;
    return of(account)->version();
}

SignatureSettings::Choice SignatureSettings::choice() const
{
    FastMutexLocker locker(m_mutex);
    return m_choice;
}

void SignatureSettings::setChoice(Choice choice)
{
    FastMutexLocker locker(m_mutex);
    m_choice = choice;
}

int SignatureSettings::version() const
{
    FastMutexLocker locker(m_mutex);
    if (m_choice == Automatic)
        return m_switched ? 4 : 2;
    return int(m_choice);
}

bool SignatureSettings::switchToVersion4()
{
    FastMutexLocker locker(m_mutex);
    if (m_choice != Automatic || m_switched)
        return false;
    m_switched = true;
    return true;
}

QByteArray SignatureSettings::region(const QString& bucket) const
{
    FastMutexLocker locker(m_mutex);
    return m_regions.value(bucket, m_defaultRegion);
}

QByteArray SignatureSettings::defaultRegion() const
{
    FastMutexLocker locker(m_mutex);
    return m_defaultRegion;
}

void SignatureSettings::setDefaultRegion(const QByteArray& region)
{
    FastMutexLocker locker(m_mutex);
    m_defaultRegion = region;
}

bool SignatureSettings::learnRegion(const QString& bucket, const QByteArray& region)
{
    FastMutexLocker locker(m_mutex);
    // A store's word goes into every later signature: nothing odd is taken.
    if (!isValidRegion(QString::fromLatin1(region)) || m_regions.value(bucket, m_defaultRegion) == region)
        return false;
    m_regions.insert(bucket, region);
    return true;
}

bool SignatureSettings::isValidRegion(const QString& region)
{
    static const QRegularExpression pattern(QStringLiteral("^[A-Za-z0-9][A-Za-z0-9._-]{0,63}$"));
    return pattern.match(region).hasMatch();
}
