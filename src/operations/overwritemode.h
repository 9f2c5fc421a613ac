#ifndef OVERWRITEMODE_H
#define OVERWRITEMODE_H

#include <QFlags>

// What an overwriting copy keeps of the object it replaces.
class OverwriteMode
{
public:
    enum Keep { KeepAcl = 0x1, KeepStorageClass = 0x2, KeepMetadata = 0x4, KeepServerSideEncryption = 0x8 };
    Q_DECLARE_FLAGS(Keeps, Keep)

    OverwriteMode() = default;
    // Not explicit: a call site names what it keeps, `OverwriteMode::KeepAcl`.
    OverwriteMode(Keeps keeps) : m_keeps(keeps) {}
    OverwriteMode(Keep keep) : m_keeps(keep) {}

    bool keepAcl() const { return m_keeps.testFlag(KeepAcl); }
    bool keepStorageClass() const { return m_keeps.testFlag(KeepStorageClass); }
    bool keepMetadata() const { return m_keeps.testFlag(KeepMetadata); }
    bool keepServerSideEncryption() const { return m_keeps.testFlag(KeepServerSideEncryption); }
    bool keepsAnything() const { return m_keeps != Keeps(); }

private:
    Keeps m_keeps;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(OverwriteMode::Keeps)

#endif
