#include <QtTest>

#include <zlib.h>

#include "crypto/multipart.h"

// The arithmetic of parts, in 64 bits, and the sizes that the command line takes.
class TestMultipart : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void plan_data();
    void plan();
    void encodedBound_data();
    void encodedBound();
    void parseSize_data();
    void parseSize();
    void thresholdIsExclusive();
};

namespace {
const qint64 mib = Q_INT64_C(1024) * 1024;
const qint64 gib = 1024 * mib;
const qint64 tib = 1024 * gib;
} // namespace

void TestMultipart::plan_data()
{
    QTest::addColumn<qint64>("total");
    QTest::addColumn<qint64>("partSize");
    QTest::addColumn<int>("count");

    QTest::newRow("just above the threshold: one part") << 5 * mib + 1 << 8 * mib << 1;
    QTest::newRow("two whole parts and a byte") << 16 * mib + 1 << 8 * mib << 3;
    QTest::newRow("exactly two parts") << 16 * mib << 8 * mib << 2;
    QTest::newRow("78 GiB: the minimum still fits") << 78 * gib << 8 * mib << 9984;
    QTest::newRow("80 GiB: parts grow by whole MiB") << 80 * gib << 9 * mib << 9103;
    QTest::newRow("5 TiB, the largest object") << 5 * tib << 525 * mib << 9987;
    QTest::newRow("5 TiB and a byte") << 5 * tib + 1 << 525 * mib << 9987;
}

void TestMultipart::plan()
{
    QFETCH(qint64, total);
    QFETCH(qint64, partSize);
    QFETCH(int, count);

    QCOMPARE(Multipart::partSizeFor(total), partSize);
    QCOMPARE(Multipart::partCount(total, partSize), count);
    QVERIFY(count <= Multipart::_maximumPartCount);
    // The parts tile the object exactly, far beyond 32 bits.
    QCOMPARE(Multipart::partOffset(1, partSize), qint64(0));
    const qint64 lastOffset = Multipart::partOffset(count, partSize);
    const qint64 lastLength = Multipart::partLength(count, total, partSize);
    QVERIFY(lastLength > 0 && lastLength <= partSize);
    QCOMPARE(lastOffset + lastLength, total);
    QCOMPARE(Multipart::partLength(count + 1, total, partSize), qint64(0));
    if (count > 1)
        QCOMPARE(Multipart::partLength(count - 1, total, partSize), partSize);
}

// Parts of an encoded upload are sized before the encoder ends: by a bound
// that zlib itself must not exceed, and that keeps the largest file within
// the part limit.
void TestMultipart::encodedBound_data()
{
    QTest::addColumn<qint64>("plain");
    QTest::addColumn<bool>("compressed");
    QTest::addColumn<bool>("encrypted");

    QTest::newRow("a byte, -z -e") << qint64(1) << true << true;
    QTest::newRow("5 TiB, -z -e") << 5 * tib << true << true;
    QTest::newRow("5 TiB, -e") << 5 * tib << false << true;
}

void TestMultipart::encodedBound()
{
    QFETCH(qint64, plain);
    QFETCH(bool, compressed);
    QFETCH(bool, encrypted);

    const qint64 bound = Multipart::encodedSizeBound(plain, compressed, encrypted);
    // The encoder's own settings: gzip framing, the largest memory level.
    z_stream stream = {};
    QCOMPARE(deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 31, 9, Z_DEFAULT_STRATEGY), Z_OK);
    const qint64 zlibBound = qint64(deflateBound(&stream, uLong(plain)));
    deflateEnd(&stream);
    // The "Salted__" header and salt, and a whole block of padding.
    QVERIFY(bound >= (compressed ? zlibBound : plain) + (encrypted ? 16 + 16 : 0));
    const qint64 partSize = Multipart::partSizeFor(bound);
    QVERIFY(Multipart::partCount(bound, partSize) <= Multipart::_maximumPartCount);
    QVERIFY(partSize <= Multipart::_maximumSinglePut);
}

void TestMultipart::parseSize_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("size");

    QTest::newRow("bytes") << "5242880" << 5 * mib;
    QTest::newRow("M") << "64M" << 64 * mib;
    QTest::newRow("lower-case g") << "5g" << 5 * gib;
    QTest::newRow("T beyond 32 bits") << "2T" << 2 * tib;
    QTest::newRow("largest that fits") << "8388607T" << 8388607 * tib;
    QTest::newRow("overflowing unit") << "8388608T" << qint64(-1);
    QTest::newRow("empty") << "" << qint64(-1);
    QTest::newRow("unit alone") << "M" << qint64(-1);
    QTest::newRow("negative") << "-64M" << qint64(-1);
    QTest::newRow("decimal") << "1.5G" << qint64(-1);
}

void TestMultipart::parseSize()
{
    QFETCH(QString, text);
    QFETCH(qint64, size);
    QCOMPARE(Multipart::parseSize(text), size);
}

void TestMultipart::thresholdIsExclusive()
{
    Multipart multipart;
    QVERIFY(!multipart.appliesTo(Multipart::_defaultThreshold));
    QVERIFY(multipart.appliesTo(Multipart::_defaultThreshold + 1));
}

QTEST_GUILESS_MAIN(TestMultipart)
#include "tst_multipart.moc"
