#include <QtTest>

#include "util/operror.h"

class TestOpError : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void toStringForms_data();
    void toStringForms();
    void copiesShareShownMarkAndId();
};

void TestOpError::toStringForms_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("detail");
    QTest::addColumn<bool>("withDetail");
    QTest::addColumn<QString>("expected");

    QTest::newRow("short, no code") << "" << "Disk full" << "d" << false << "Disk full";
    QTest::newRow("short, code") << "NoSuchBucket" << "Gone" << "d" << false << "NoSuchBucket: Gone";
    // The detailed forms swap their fields; callers rely on these shapes.
    QTest::newRow("detail, code") << "NoSuchBucket" << "Gone" << "more" << true << "Gone: more";
    QTest::newRow("detail, no code") << "" << "Gone" << "more" << true << ": Gone\nmore";
    QTest::newRow("placeholders in text stay") << "%2" << "%1 left" << "" << false << "%2: %1 left";
}

void TestOpError::toStringForms()
{
    QFETCH(QString, code);
    QFETCH(QString, message);
    QFETCH(QString, detail);
    QFETCH(bool, withDetail);
    QFETCH(QString, expected);
    QCOMPARE(OpError(OpError::ServiceError, code, message, detail).toString(withDetail), expected);
}

void TestOpError::copiesShareShownMarkAndId()
{
    QVERIFY(OpError().isNull());
    QVERIFY(OpError().toString(false).isNull());
    const OpError a(OpError::FileError, QString(), "m", QString());
    const OpError b(OpError::FileError, QString(), "m", QString());
    QVERIFY(a.errorId() != b.errorId());
    OpError copy = a;
    copy.setShowFlag(true);
    copy.setDetail("late detail");
    QVERIFY(a.showFlag());
    QCOMPARE(a.detail(), QString("late detail"));
    QVERIFY(!b.showFlag());
    // Setters give a null error a record of its own.
    OpError empty;
    empty.setEndPoint("s3.localhost");
    QVERIFY(!empty.isNull());
}

QTEST_GUILESS_MAIN(TestOpError)
#include "tst_operror.moc"
