#include <QtTest>

#include "net/metadata.h"

class TestMetadata : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void appendReplacesAnyCaseAndMovesToEnd();
    void lookupsIgnoreCase();
    void equalityIgnoresOrderAndCase_data();
    void equalityIgnoresOrderAndCase();
    void keepUserKeys_data();
    void keepUserKeys();
    void sortIsByteOrderOfKeysThenValues();
};

static Metadata fieldsOf(const QList<QPair<QByteArray, QByteArray>>& pairs)
{
    Metadata m;
    for (const auto& p : pairs)
        m.append(HttpField(p.first, p.second));
    return m;
}

void TestMetadata::appendReplacesAnyCaseAndMovesToEnd()
{
    Metadata m = fieldsOf({ { "ETag", "a" }, { "Date", "d" }, { "etag", "b" } });
    QCOMPARE(m.count(), 2);
    QCOMPARE(m.at(0).key(), QByteArray("Date"));
    QCOMPARE(m.at(1).key(), QByteArray("etag"));
    QCOMPARE(m.at(1).value(), QByteArray("b"));

    Metadata other = fieldsOf({ { "DATE", "e" }, { "X-New", "n" } });
    m.append(other);
    QCOMPARE(m.count(), 3);
    QCOMPARE(m[0].key(), QByteArray("etag"));
    QCOMPARE(m[1].toByteArray(false), QByteArray("DATE:e"));
    QCOMPARE(m[2].toByteArray(true), QByteArray("X-New: n"));
}

void TestMetadata::lookupsIgnoreCase()
{
    Metadata m = fieldsOf({ { "Content-Type", "text/plain" }, { "x-amz-meta-a", "1" },
                            { "x-amz-meta-b", "2" } });
    QVERIFY(m.contains("content-TYPE"));
    QCOMPARE(m.field("CONTENT-type").value(), QByteArray("text/plain"));
    QVERIFY(m.field("missing").isNull());
    m.remove("X-AMZ-META-A");
    QCOMPARE(m.count(), 2);
    m.remove(QList<QByteArray>{ "CONTENT-TYPE", "X-Amz-Meta-B" });
    QVERIFY(m.isEmpty());
}

void TestMetadata::equalityIgnoresOrderAndCase_data()
{
    QTest::addColumn<Metadata>("left");
    QTest::addColumn<Metadata>("right");
    QTest::addColumn<bool>("equal");
    QTest::newRow("other order") << fieldsOf({ { "a", "1" }, { "b", "2" } })
                                 << fieldsOf({ { "b", "2" }, { "a", "1" } }) << true;
    QTest::newRow("value case") << fieldsOf({ { "a", "Text" } }) << fieldsOf({ { "A", "tEXT" } })
                                << true;
    QTest::newRow("subset") << fieldsOf({ { "a", "1" } })
                            << fieldsOf({ { "a", "1" }, { "b", "2" } }) << false;
}

void TestMetadata::equalityIgnoresOrderAndCase()
{
    QFETCH(Metadata, left);
    QFETCH(Metadata, right);
    QFETCH(bool, equal);
    QCOMPARE(left == right, equal);
    QCOMPARE(right != left, !equal);
}

void TestMetadata::keepUserKeys_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<bool>("kept");
    QTest::newRow("amz lower") << QByteArray("x-amz-meta-owner") << true;
    QTest::newRow("amz capitals") << QByteArray("X-AMZ-META-OWNER") << false;
    QTest::newRow("nifty") << QByteArray("x-nifty-meta-owner") << false;
    QTest::newRow("content-type any case") << QByteArray("CONTENT-type") << true;
    QTest::newRow("etag") << QByteArray("ETag") << false;
    QTest::newRow("content-length") << QByteArray("Content-Length") << false;
}

void TestMetadata::keepUserKeys()
{
    QFETCH(QByteArray, key);
    QFETCH(bool, kept);
    Metadata m = fieldsOf({ { "Date", "now" }, { key, "v" } });
    m.keepUserKeys();
    QCOMPARE(m.contains(key), kept);
    QCOMPARE(m.count(), kept ? 1 : 0);
}

void TestMetadata::sortIsByteOrderOfKeysThenValues()
{
    Metadata m;
    m.append(HttpField("b", "1"));
    m.append(HttpField("B", "2"));  // replaces "b": one name, any case
    m.append(HttpField("a", "z"));
    m.append(HttpField("Z", "0"));
    m.sort();
    QCOMPARE(m.at(0).key(), QByteArray("B"));
    QCOMPARE(m.at(1).key(), QByteArray("Z"));
    QCOMPARE(m.at(2).key(), QByteArray("a"));
    QVERIFY(qHttpFieldLessThan(HttpField("k", "A"), HttpField("k", "a")));
    QVERIFY(!qHttpFieldLessThan(HttpField("k", "a"), HttpField("k", "a")));
}

QTEST_GUILESS_MAIN(TestMetadata)
#include "tst_metadata.moc"
