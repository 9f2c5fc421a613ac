#include <QtTest>

#include "items/url.h"

class TestUrl : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void isDnsCompatible_data();
    void isDnsCompatible();
};

void TestUrl::isDnsCompatible_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("compatible");
    QTest::newRow("plain") << "mybucket" << true;
    QTest::newRow("dots and dashes") << "my.bucket-2" << true;
    QTest::newRow("three characters") << "abc" << true;
    QTest::newRow("two characters") << "ab" << false;
    QTest::newRow("63 characters") << QString(63, QLatin1Char('a')) << true;
    QTest::newRow("64 characters") << QString(64, QLatin1Char('a')) << false;
    QTest::newRow("capital") << "My_Bucket" << false;
    QTest::newRow("capital only") << "Mybucket" << false;
    QTest::newRow("underscore") << "my_bucket" << false;
    QTest::newRow("blank") << "my bucket" << false;
    QTest::newRow("non-ascii lower-case") << "b\u00fccket" << false;
    // The first character is checked for U+0001 only.
    QTest::newRow("leading dot") << ".bucket" << true;
    QTest::newRow("leading dash") << "-bucket" << true;
    QTest::newRow("leading control") << "\u0001bucket" << false;
    QTest::newRow("trailing dash") << "bucket-" << false;
    QTest::newRow("trailing dot") << "bucket." << true;
    QTest::newRow("dash dot") << "a-.b" << false;
    QTest::newRow("dot dash") << "a.-b" << false;
    QTest::newRow("dot dot") << "a..b" << false;
    QTest::newRow("dash dash") << "a--b" << true;
    QTest::newRow("ipv4") << "192.168.1.1" << false;
    QTest::newRow("ipv4 edge") << "255.255.255.255" << false;
    QTest::newRow("not ipv4: 256") << "256.1.1.1" << true;
    QTest::newRow("not ipv4: three groups") << "10.0.0" << true;
    QTest::newRow("not ipv4: five groups") << "1.2.3.4.5" << true;
}

void TestUrl::isDnsCompatible()
{
    QFETCH(QString, name);
    QFETCH(bool, compatible);
    QCOMPARE(Url::isDnsCompatible(name), compatible);
}

QTEST_GUILESS_MAIN(TestUrl)
#include "tst_url.moc"
