#include "net/tlssettings.h"

#include <QAtomicInt>
#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QStringList>

namespace {
QAtomicInt global_insecure = 0;
}

bool TlsSettings::addCaFile(const QString& path, QString* message)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *message = QStringLiteral("Cannot read the CA file '%1': %2").arg(path, file.errorString());
        return false;
    }
    const QList<QSslCertificate> certificates = QSslCertificate::fromData(file.readAll(), QSsl::Pem);
    if (certificates.isEmpty()) {
        *message = QStringLiteral("No PEM certificate in the CA file '%1'").arg(path);
        return false;
    }
    // An explicit list ends the toolkit's loading of the system roots on demand,
    // so the system's own go into the list too.
    QSslConfiguration config = QSslConfiguration::defaultConfiguration();
    QList<QSslCertificate> trusted = config.caCertificates();
    if (trusted.isEmpty())
        trusted = QSslConfiguration::systemCaCertificates();
    config.setCaCertificates(trusted + certificates);
    QSslConfiguration::setDefaultConfiguration(config);
    return true;
}

void TlsSettings::setInsecure(bool insecure)
{
    global_insecure.storeRelease(insecure ? 1 : 0);
}

bool TlsSettings::isInsecure()
{
    return global_insecure.loadAcquire() != 0;
}

QString TlsSettings::failureText(const QString& host, const QList<QSslError>& errors,
                                 const QString& socketError)
{
    QStringList reasons;
    for (const QSslError& error : errors)
        reasons << error.errorString();
    if (reasons.isEmpty())
        return QStringLiteral("TLS handshake with %1 failed: %2").arg(host, socketError);
    reasons.removeDuplicates();
    return QStringLiteral("Certificate of %1 not trusted: %2")
        .arg(host, reasons.join(QStringLiteral("; ")));
}
