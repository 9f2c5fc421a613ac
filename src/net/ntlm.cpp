#include "net/ntlm.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QMessageAuthenticationCode>
#include <QtEndian>

namespace {

const QByteArray global_signature("NTLMSSP\0", 8);

enum : quint32 {
    NegotiateUnicode = 0x00000001,
    NegotiateOem = 0x00000002,
    RequestTarget = 0x00000004,
    NegotiateNtlm = 0x00000200,
    NegotiateAlwaysSign = 0x00008000,
    NegotiateExtendedSessionSecurity = 0x00080000,
    NegotiateTargetInfo = 0x00800000
};

const quint16 global_avTimestamp = 7;
const quint16 global_avEol = 0;

void putU16(QByteArray& out, quint16 v)
{
    char b[2];
    qToLittleEndian(v, b);
    out.append(b, 2);
}

void putU32(QByteArray& out, quint32 v)
{
    char b[4];
    qToLittleEndian(v, b);
    out.append(b, 4);
}

void putU64(QByteArray& out, quint64 v)
{
    char b[8];
    qToLittleEndian(v, b);
    out.append(b, 8);
}

// Little-endian number of n bytes at a position the caller has checked.
quint64 uintAt(const QByteArray& in, int at, int n)
{
    quint64 v = 0;
    for (int i = n - 1; i >= 0; --i)
        v = (v << 8) | quint8(in.at(at + i));
    return v;
}

quint16 u16At(const QByteArray& in, int at)
{
    return quint16(uintAt(in, at, 2));
}

quint32 u32At(const QByteArray& in, int at)
{
    return quint32(uintAt(in, at, 4));
}

QByteArray unicode(const QString& s)
{
    QByteArray out;
    for (QChar c : s)
        putU16(out, c.unicode());
    return out;
}

QString fromUnicode(const QByteArray& in)
{
    QString s;
    for (int i = 0; i + 1 < in.size(); i += 2)
        s += QChar(u16At(in, i));
    return s;
}

// A field of a message: length, allocated length, offset.
bool readSecurityBuffer(const QByteArray& message, int at, QByteArray& value)
{
    if (message.size() < at + 8)
        return false;
    const quint16 length = u16At(message, at);
    const quint32 offset = u32At(message, at + 4);
    if (offset > quint32(message.size()) || length > message.size() - int(offset))
        return false;
    value = message.mid(int(offset), length);
    return true;
}

QByteArray hmacMd5(const QByteArray& key, const QByteArray& data)
{
    return QMessageAuthenticationCode::hash(data, key, QCryptographicHash::Md5);
}

// Tenths of microseconds since 1601-01-01.
qint64 fileTimeNow()
{
    return (QDateTime::currentMSecsSinceEpoch() + 11644473600000LL) * 10000LL;
}

qint64 timestampFromTargetInfo(const QByteArray& info)
{
    for (int at = 0; at + 4 <= info.size();) {
        const quint16 id = u16At(info, at);
        const quint16 length = u16At(info, at + 2);
        if (id == global_avEol || at + 4 + length > info.size())
            break;
        if (id == global_avTimestamp && length == 8)
            return qint64(uintAt(info, at + 4, 8));
        at += 4 + length;
    }
    return -1;
}

} // namespace

QByteArray Ntlm::negotiateMessage()
{
    QByteArray out = global_signature;
    putU32(out, 1);
    putU32(out, NegotiateUnicode | NegotiateOem | RequestTarget | NegotiateNtlm
                    | NegotiateAlwaysSign | NegotiateExtendedSessionSecurity);
    // No domain and no workstation are supplied.
    for (int field = 0; field < 2; ++field) {
        putU16(out, 0);
        putU16(out, 0);
        putU32(out, 32);
    }
    return out;
}

bool Ntlm::decodeChallenge(const QByteArray& message, Challenge& challenge)
{
    if (message.size() < 32 || !message.startsWith(global_signature) || u32At(message, 8) != 2)
        return false;
    challenge.flags = u32At(message, 20);
    challenge.serverChallenge = message.mid(24, 8);
    // Servers of the older layout leave fields they don't use as garbage: only what
    // the flags announce is read, and a bad name only matters if the name is needed.
    QByteArray name;
    challenge.hasTargetName = readSecurityBuffer(message, 12, name);
    challenge.targetName = (challenge.flags & NegotiateUnicode) ? fromUnicode(name)
                                                                : QString::fromLatin1(name);
    challenge.targetInfo.clear();
    if (challenge.flags & NegotiateTargetInfo)
        return readSecurityBuffer(message, 40, challenge.targetInfo);
    return true;
}

QByteArray Ntlm::ntowfV2(const QString& user, const QString& password, const QString& domain)
{
    const QByteArray md4 = QCryptographicHash::hash(unicode(password), QCryptographicHash::Md4);
    return hmacMd5(md4, unicode(user.toUpper() + domain));
}

QByteArray Ntlm::ntV2Response(const QByteArray& ntowf, const QByteArray& serverChallenge,
                              const QByteArray& clientChallenge, qint64 timestamp,
                              const QByteArray& targetInfo)
{
    QByteArray temp;
    temp += '\x01';
    temp += '\x01';
    temp += QByteArray(6, '\0');
    putU64(temp, quint64(timestamp));
    temp += clientChallenge;
    temp += QByteArray(4, '\0');
    temp += targetInfo;
    temp += QByteArray(4, '\0');
    return hmacMd5(ntowf, serverChallenge + temp) + temp;
}

QByteArray Ntlm::lmV2Response(const QByteArray& ntowf, const QByteArray& serverChallenge,
                              const QByteArray& clientChallenge)
{
    return hmacMd5(ntowf, serverChallenge + clientChallenge) + clientChallenge;
}

QByteArray Ntlm::authenticateMessage(const Challenge& challenge, const QString& user,
                                     const QString& password, const QString& domain,
                                     const QString& workstation,
                                     const QByteArray& clientChallenge, qint64 timestamp)
{
    if (domain.isEmpty() && !challenge.hasTargetName)
        return QByteArray();
    const qint64 serverTime = timestampFromTargetInfo(challenge.targetInfo);
    if (timestamp < 0)
        timestamp = serverTime >= 0 ? serverTime : fileTimeNow();
    const QString userDomain = domain.isEmpty() ? challenge.targetName : domain;
    const QByteArray key = ntowfV2(user, password, userDomain);
    const QByteArray nt = ntV2Response(key, challenge.serverChallenge, clientChallenge, timestamp,
                                       challenge.targetInfo);
    // With a server timestamp the LMv2 response is left as zeros.
    const QByteArray lm = serverTime >= 0
        ? QByteArray(24, '\0')
        : lmV2Response(key, challenge.serverChallenge, clientChallenge);

    const bool wide = challenge.flags & NegotiateUnicode;
    const auto text = [wide](const QString& s) { return wide ? unicode(s) : s.toLatin1(); };
    const QList<QByteArray> fields = { lm, nt, text(userDomain), text(user), text(workstation),
                                       QByteArray() };

    const int headerSize = 64;
    QByteArray out = global_signature;
    putU32(out, 3);
    QByteArray payload;
    for (const QByteArray& f : fields) {
        putU16(out, quint16(f.size()));
        putU16(out, quint16(f.size()));
        putU32(out, quint32(headerSize + payload.size()));
        payload += f;
    }
    putU32(out, (wide ? NegotiateUnicode : NegotiateOem) | NegotiateNtlm | NegotiateAlwaysSign
                    | NegotiateExtendedSessionSecurity
                    | (challenge.flags & NegotiateTargetInfo));
    return out + payload;
}
