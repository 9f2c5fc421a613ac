#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

#include "crypto/openssl.h"
#include "crypto/opensslloader.h"

// The cipher context against the openssl command: key and vector derived
// the way `openssl enc -md sha1` derives them.
class TestOpenSsl : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void keyDerivation_data();
    void keyDerivation();
    void noVectorNeedsCompatibilityPassword();
};

namespace {

// Key and vector as `openssl enc -P` prints them, in upper-case hex.
QPair<QByteArray, QByteArray> opensslKeyAndIv(const QString& option, const QString& password, const QByteArray& salt)
{
    const QStringList args{"-" + option, "-md", "sha1", "-pass", "pass:" + password, "-P", "-S",
                           QString::fromLatin1(salt.toHex())};
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"), QStringList{"enc"} + args);
    openssl.closeWriteChannel();
    if (!openssl.waitForFinished(10000) || openssl.exitCode() != 0)
        return {};
    const QString out = QString::fromLatin1(openssl.readAllStandardOutput());
    const auto value = [&](const char* name) {
        const QRegularExpression line(QStringLiteral("^%1\\s*=\\s*([0-9A-F]+)$").arg(QLatin1String(name)),
                                      QRegularExpression::MultilineOption);
        return line.match(out).captured(1).toLatin1();
    };
    return {value("key"), value("iv")};
}

} // namespace

void TestOpenSsl::initTestCase()
{
    const QPair<bool, QString> loaded = initializeOpenSSL();
    QVERIFY2(loaded.first, qPrintable(loaded.second));
    QVERIFY2(OpenSslLoader::hasLegacyProvider(), "Debian's libssl3 ships the legacy provider");
}

void TestOpenSsl::keyDerivation_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("salt");
    const QByteArray salt = QByteArray::fromHex("0123456789abcdef");
    // The key is derived from the UTF-8 bytes of the password; the crypto e2e test
    // decodes every cipher with `openssl enc -d`.
    QTest::newRow("utf-8 password") << QStringLiteral("aes-256-cbc") << QStringLiteral("pässwörd ✓") << salt;
}

void TestOpenSsl::keyDerivation()
{
    QFETCH(QString, option);
    QFETCH(QString, password);
    QFETCH(QByteArray, salt);
    const QPair<QByteArray, QByteArray> expected = opensslKeyAndIv(option, password, salt);
    QVERIFY2(!expected.first.isEmpty(), "openssl enc -P gave no key");
    OpenSsl cipher;
    QVERIFY2(cipher.encryptInit(ClientSideEncryption::algorithmFromString(option, nullptr), password.toUtf8(), salt), qPrintable(cipher.lastError()));
    QCOMPARE(cipher.key().toHex().toUpper(), expected.first);
    QCOMPARE(cipher.iv().toHex().toUpper(), expected.second);
}

void TestOpenSsl::noVectorNeedsCompatibilityPassword()
{
    // Without a vector in the metadata the list is not tried: nothing in
    // this tool sets the compatibility password.
    OpenSsl decryptor;
    DecryptionPasswords passwords;
    passwords.append(Password::fromString("right"));
    QVERIFY(!decryptor.decryptInit(ClientSideEncryption::Aes256Cbc, passwords, QByteArray(), QByteArray()));
    QCOMPARE(decryptor.lastError(), QStringLiteral("No valid password was found"));
}

QTEST_GUILESS_MAIN(TestOpenSsl)
#include "tst_openssl.moc"
