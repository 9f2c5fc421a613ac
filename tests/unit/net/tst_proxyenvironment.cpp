#include <QtTest>

#include "net/proxyenvironment.h"

// Which proxy a request goes through, from the variables curl reads.
class TestProxyEnvironment : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void noProxyMatching_data();
    void noProxyMatching();
    void proxyChoice_data();
    void proxyChoice();
};

void TestProxyEnvironment::noProxyMatching_data()
{
    QTest::addColumn<QString>("noProxy");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("bypassed");

    QTest::newRow("a name below it") << "example.com" << "bucket.s3.example.com" << true;
    QTest::newRow("leading dot, the name itself") << ".example.com" << "example.com" << true;
    QTest::newRow("part of a label") << "ample.com" << "example.com" << false;
    QTest::newRow("a longer name is not below") << "example.com" << "example.com.evil.net" << false;
    QTest::newRow("any case, blanks in the list") << "intra.net , EXAMPLE.com" << "S3.Example.COM" << true;
    QTest::newRow("star") << "*" << "anything.example" << true;
    QTest::newRow("address is not a suffix") << "0.0.1" << "127.0.0.1" << false;
    QTest::newRow("network") << "10.0.0.0/8" << "10.1.2.3" << true;
    QTest::newRow("empty entries match nothing") << ",, ," << "example.com" << false;
}

void TestProxyEnvironment::noProxyMatching()
{
    QFETCH(QString, noProxy);
    QFETCH(QString, host);
    QFETCH(bool, bypassed);
    QCOMPARE(ProxyEnvironment::bypasses(noProxy, host), bypassed);
}

void TestProxyEnvironment::proxyChoice_data()
{
    QTest::addColumn<QStringList>("variables");  // NAME=value
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("encrypted");
    QTest::addColumn<QString>("expected");  // host:port user password, or "none"

    const QString host = "s3.example.com";
    QTest::newRow("no https_proxy: encrypted goes direct") << QStringList{ "http_proxy=http://proxy:3128" } << host << true << "none";
    QTest::newRow("lower case wins") << QStringList{ "HTTP_PROXY=http://upper:1", "http_proxy=http://lower:2" } << host << false << "lower:2  ";
    QTest::newRow("no scheme, no port") << QStringList{ "http_proxy=proxy" } << host << false << "proxy:1080  ";
    QTest::newRow("NO_PROXY loses to no_proxy") << QStringList{ "http_proxy=http://proxy:1", "NO_PROXY=*", "no_proxy=intra.net" } << host << false << "proxy:1  ";
    QTest::newRow("other scheme passed over") << QStringList{ "http_proxy=socks5://proxy:1080" } << host << false << "none";
    QTest::newRow("not a URL passed over") << QStringList{ "http_proxy=http://pro xy:3128" } << host << false << "none";
}

void TestProxyEnvironment::proxyChoice()
{
    QFETCH(QStringList, variables);
    QFETCH(QString, host);
    QFETCH(bool, encrypted);
    QFETCH(QString, expected);

    QProcessEnvironment environment;
    for (const QString& v : variables)
        environment.insert(v.section('=', 0, 0), v.section('=', 1));
    const QNetworkProxy proxy = ProxyEnvironment::fromEnvironment(environment).proxyFor(host, encrypted);
    QCOMPARE(proxy.type() == QNetworkProxy::NoProxy ? QStringLiteral("none")
             : QStringLiteral("%1:%2 %3 %4").arg(proxy.hostName()).arg(proxy.port()).arg(proxy.user(), proxy.password()),
             expected);
    QCOMPARE(proxy.type(), expected == "none" ? QNetworkProxy::NoProxy : QNetworkProxy::HttpProxy);
}

QTEST_GUILESS_MAIN(TestProxyEnvironment)
#include "tst_proxyenvironment.moc"
