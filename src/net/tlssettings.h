#ifndef TLSSETTINGS_H
#define TLSSETTINGS_H

#include <QList>
#include <QSslError>
#include <QString>

// How the certificates of TLS peers are judged, for the whole process: set from the
// command line before the first connection, read by every socket after that.
// By default a peer must present a chain to a trusted root, for its own host name.
class TlsSettings
{
public:
    // Trusts the PEM certificates of a file besides the system's. False, with the
    // reason in `message`, if the file can't be read or holds no certificate.
    static bool addCaFile(const QString& path, QString* message);

    // Accept any certificate: the traffic can then be read by anyone in the path.
    static void setInsecure(bool insecure);
    static bool isInsecure();

    // Why the handshake with `host` failed, in one line for the user.
    static QString failureText(const QString& host, const QList<QSslError>& errors,
                               const QString& socketError);
};

#endif
