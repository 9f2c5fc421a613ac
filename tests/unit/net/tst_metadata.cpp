#include <QtTest>

#include "net/metadata.h"

class TestMetadata : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void appendRemoveAndSort();
    void equalityIgnoresOrderAndCase_data();
    void equalityIgnoresOrderAndCase();
    void keepUserKeys_data();
    void keepUserKeys();
};

static Metadata fieldsOf(const QList<QPair<QByteArray, QByteArray>>& pairs)
{
    Metadata m;
    for (const auto& p : pairs)
        m.append(HttpField(p.first, p.second));
    return m;
}

// The fields as "key:value" lines, in order.
static QByteArray text(const Metadata& m)
{
    QByteArray result;
    for (int i = 0; i < m.count(); ++i)
        result += m.at(i).toByteArray(false) + '\n';
    return result;
}

void TestMetadata::appendRemoveAndSort()
{
    // A name held again, in any case, replaces the old field and moves to the end.
    Metadata m = fieldsOf({ { "ETag", "a" }, { "Date", "d" }, { "etag", "b" } });
    QCOMPARE(text(m), QByteArray("Date:d\netag:b\n"));
    m.append(fieldsOf({ { "DATE", "e" }, { "X-New", "n" } }));
    QCOMPARE(text(m), QByteArray("etag:b\nDATE:e\nX-New:n\n"));
    QCOMPARE(m.at(2).toByteArray(true), QByteArray("X-New: n"));
    QCOMPARE(m.field("date").value(), QByteArray("e"));
    QVERIFY(m.field("missing").isNull());

    // Sorted by the bytes of the keys, then of the values.
    m.append(HttpField("a", "z"));
    m.sort();
    QCOMPARE(text(m), QByteArray("DATE:e\nX-New:n\na:z\netag:b\n"));
    QVERIFY(qHttpFieldLessThan(HttpField("k", "A"), HttpField("k", "a")));
    QVERIFY(!qHttpFieldLessThan(HttpField("k", "a"), HttpField("k", "a")));

    m.remove("ETAG");
    m.remove(QList<QByteArray>{ "date", "X-NEW" });
    QCOMPARE(text(m), QByteArray("a:z\n"));
}

void TestMetadata::equalityIgnoresOrderAndCase_data()
{
    QTest::addColumn<Metadata>("left");
    QTest::addColumn<Metadata>("right");
    QTest::addColumn<bool>("equal");
    QTest::newRow("other order") << fieldsOf({ { "a", "1" }, { "b", "2" } }) << fieldsOf({ { "b", "2" }, { "a", "1" } }) << true;
    QTest::newRow("value case") << fieldsOf({ { "a", "Text" } }) << fieldsOf({ { "A", "tEXT" } }) << true;
    QTest::newRow("subset") << fieldsOf({ { "a", "1" } }) << fieldsOf({ { "a", "1" }, { "b", "2" } }) << false;
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
}

void TestMetadata::keepUserKeys()
{
    QFETCH(QByteArray, key);
    QFETCH(bool, kept);
    Metadata m = fieldsOf({ { "Date", "now" }, { key, "v" } });
    m.keepUserKeys();
    QCOMPARE(text(m), kept ? key + ":v\n" : QByteArray());
}

QTEST_GUILESS_MAIN(TestMetadata)
#include "tst_metadata.moc"
