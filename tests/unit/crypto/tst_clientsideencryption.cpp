#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

#include "crypto/clientsideencryption.h"
#include "crypto/multipart.h"
#include "crypto/openssl.h"
#include "crypto/opensslloader.h"
#include "crypto/password.h"
#include "crypto/serversideencryption.h"
#include "crypto/storagedirective.h"

class TestClientSideEncryption : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void algorithmFromString_data();
    void algorithmFromString();
    void fromByteArray_data();
    void fromByteArray();
    void passwordBytesAreUtf8();
    void initTestCase();
    void keyDerivation_data();
    void keyDerivation();
    void noVectorNeedsCompatibilityPassword();
};

// Every cipher name goes through e2e.crypto; here the case and the refusals.
void TestClientSideEncryption::algorithmFromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("algorithm"); // -1: refused
    QTest::newRow("upper case") << "AES-128-CFB1" << int(ClientSideEncryption::Aes128Cfb1);
    QTest::newRow("empty") << "" << -1;
    QTest::newRow("trailing blank") << "aes-256-cbc " << -1;
    QTest::newRow("metadata name") << "AES-256 (OpenSSL aes-256-cbc)" << -1;
    QTest::newRow("unsupported") << "aes-256-ecb" << -1;
}

void TestClientSideEncryption::algorithmFromString()
{
    QFETCH(QString, text);
    QFETCH(int, algorithm);
    bool ok = false;
    const int read = int(ClientSideEncryption::algorithmFromString(text, &ok));
    QCOMPARE(ok, algorithm >= 0);
    if (ok)
        QCOMPARE(read, algorithm);
}

void TestClientSideEncryption::fromByteArray_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("compression");
    QTest::addColumn<bool>("encryption");
    QTest::addColumn<int>("algorithm");
    QTest::addColumn<QByteArray>("iv");
    const QByteArray iv("0123456789abcdef");
    const QByteArray b64 = iv.toBase64();
    QTest::newRow("any case") << "GZIP;aes-128 (openssl AES-128-OFB) ;" + b64 << true << true << 18 << iv;
    QTest::newRow("older triple des") << "3DES (OpenSSL des_ede3_cfb); " + b64 << false << true << 4 << iv;
    QTest::newRow("older aes") << "AES-256 (OpenSSL aes_256_ofb); " + b64 << false << true << 20 << iv;
    QTest::newRow("help-screen name is no metadata name") << "256 bit AES (OpenSSL aes-256-cbc); " + b64 << false << false << 8 << iv;
    // An unknown name is taken as the vector, and encryption stays off.
    const QByteArray unknown("AES-512 (OpenSSL aes-512-cbc)");
    QTest::newRow("unknown name") << unknown << false << false << 8 << QByteArray::fromBase64(unknown);
    QTest::newRow("empty") << QByteArray() << false << false << 8 << QByteArray();
}

void TestClientSideEncryption::fromByteArray()
{
    QFETCH(QByteArray, value);
    QFETCH(bool, compression);
    QFETCH(bool, encryption);
    QFETCH(int, algorithm);
    QFETCH(QByteArray, iv);
    const auto parsed = ClientSideEncryption::fromByteArray(value);
    QCOMPARE(parsed.first.isCompressionEnabled(), compression);
    QCOMPARE(parsed.first.isEncryptionEnabled(), encryption);
    QCOMPARE(int(parsed.first.algorithm()), algorithm);
    QCOMPARE(parsed.second, iv);
}

void TestClientSideEncryption::passwordBytesAreUtf8()
{
    const QString text = QString::fromUtf8("p\u00e4ss \u20ac");
    QCOMPARE(Password::fromString(text).toUtf8(), QByteArray("p\xc3\xa4ss \xe2\x82\xac"));
    QCOMPARE(Password::fromUtf8("\xff\xfe").toUtf8(), QByteArray("\xff\xfe"));
    QVERIFY(Password::fromString(text) == Password::fromUtf8(text.toUtf8()));
    QVERIFY(Password().isEmpty());
}

// The cipher context against the openssl command: key and vector derived
// the way `openssl enc -md sha1` derives them.

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

void TestClientSideEncryption::initTestCase()
{
    const QPair<bool, QString> loaded = initializeOpenSSL();
    QVERIFY2(loaded.first, qPrintable(loaded.second));
    QVERIFY2(OpenSslLoader::hasLegacyProvider(), "Debian's libssl3 ships the legacy provider");
}

void TestClientSideEncryption::keyDerivation_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("salt");
    const QByteArray salt = QByteArray::fromHex("0123456789abcdef");
    // The key is derived from the UTF-8 bytes of the password; the crypto e2e test
    // decodes every cipher with `openssl enc -d`.
    QTest::newRow("utf-8 password") << QStringLiteral("aes-256-cbc") << QStringLiteral("pässwörd ✓") << salt;
}

void TestClientSideEncryption::keyDerivation()
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

void TestClientSideEncryption::noVectorNeedsCompatibilityPassword()
{
    // Without a vector in the metadata the list is not tried: nothing in
    // this tool sets the compatibility password.
    OpenSsl decryptor;
    DecryptionPasswords passwords;
    passwords.append(Password::fromString("right"));
    QVERIFY(!decryptor.decryptInit(ClientSideEncryption::Aes256Cbc, passwords, QByteArray(), QByteArray()));
    QCOMPARE(decryptor.lastError(), QStringLiteral("No valid password was found"));
}

QTEST_GUILESS_MAIN(TestClientSideEncryption)
#include "tst_clientsideencryption.moc"
