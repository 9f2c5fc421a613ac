#ifndef NTLM_H
#define NTLM_H

#include <QByteArray>
#include <QString>

// The NTLMSSP messages of the three-step exchange, with an NTLMv2 response.
namespace Ntlm {

struct Challenge
{
    quint32 flags = 0;
    QByteArray serverChallenge;  // 8 bytes
    QString targetName;
    bool hasTargetName = false;  // false: its buffer pointed outside the message
    QByteArray targetInfo;       // the AV pairs, as sent
};

// Message 1: what the client can do.
QByteArray negotiateMessage();
// Message 2; false if it is not a well-formed challenge.
bool decodeChallenge(const QByteArray& message, Challenge& challenge);
// Message 3, empty if no domain is given and the challenge has no usable target
// name. The client challenge is 8 bytes; a timestamp of -1 means now, unless the
// server gave one in its target information.
QByteArray authenticateMessage(const Challenge& challenge, const QString& user,
                               const QString& password, const QString& domain,
                               const QString& workstation, const QByteArray& clientChallenge,
                               qint64 timestamp = -1);

// The pieces, each as the published protocol defines it.
QByteArray ntowfV2(const QString& user, const QString& password, const QString& domain);
QByteArray ntV2Response(const QByteArray& ntowf, const QByteArray& serverChallenge,
                        const QByteArray& clientChallenge, qint64 timestamp,
                        const QByteArray& targetInfo);
QByteArray lmV2Response(const QByteArray& ntowf, const QByteArray& serverChallenge,
                        const QByteArray& clientChallenge);

} // namespace Ntlm

#endif
