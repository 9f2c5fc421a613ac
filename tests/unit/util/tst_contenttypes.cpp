#include <QtConcurrent>
#include <QtTest>

#include "util/contenttypesmanager.h"

class TestContentTypes : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void contentTypeOfName_data();
    void contentTypeOfName();
    void extensionOfName_data();
    void extensionOfName();
    void concurrentLookups();
};

void TestContentTypes::contentTypeOfName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    QTest::newRow("txt") << "notes.txt" << "text/plain";
    QTest::newRow("upper case") << "NOTES.TXT" << "text/plain";
    QTest::newRow("mixed case") << "page.HtMl" << "text/html";
    QTest::newRow("js") << "app.js" << "application/x-javascript";
    QTest::newRow("archive") << "archive.tar.gz" << "application/x-gzip";
    QTest::newRow("tgz") << "b.tgz" << "application/x-gzip";
    QTest::newRow("second rtf wins") << "letter.rtf" << "text/rtf";
    QTest::newRow("odt") << "a.odt" << "application/vnd.oasis.opendocument.text";
    QTest::newRow("xls") << "a.xls" << "application/vnd.ms-excel";
    QTest::newRow("torrent") << "a.torrent" << "application/x-bittorrent";
    QTest::newRow("single letter") << "a.t" << "application/x-troff";
    QTest::newRow("first key") << "logo.ai" << "application/postscript";
    QTest::newRow("last key") << "firmware.bin" << "application/octet-stream";
    QTest::newRow("no dot") << "README" << "application/octet-stream";
    QTest::newRow("hidden file") << ".bashrc" << "application/octet-stream";
    QTest::newRow("trailing dot") << "odd." << "application/octet-stream";
    QTest::newRow("unknown") << "a.qqq" << "application/octet-stream";
}

void TestContentTypes::contentTypeOfName()
{
    QFETCH(QString, name);
    QFETCH(QString, type);
    QCOMPARE(ContentTypesManager::instance()->get(fileExtension(name)), type);
}

void TestContentTypes::extensionOfName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("extension");
    QTest::addColumn<bool>("isNull");
    QTest::newRow("plain") << "a.txt" << "txt" << false;
    QTest::newRow("last dot") << "archive.tar.gz" << "gz" << false;
    QTest::newRow("hidden") << ".bashrc" << "bashrc" << false;
    QTest::newRow("case kept") << "A.TXT" << "TXT" << false;
    QTest::newRow("no dot") << "Makefile" << "" << true;
    QTest::newRow("trailing dot") << "odd." << "" << false;
}

void TestContentTypes::extensionOfName()
{
    QFETCH(QString, name);
    QFETCH(QString, extension);
    QFETCH(bool, isNull);
    const QString result = fileExtension(name);
    QCOMPARE(result, extension);
    QCOMPARE(result.isNull(), isNull);
}

void TestContentTypes::concurrentLookups()
{
    auto work = [] {
        int wrong = 0;
        for (int i = 0; i < 20000; ++i) {
            if (ContentTypesManager::instance()->get(QStringLiteral("png")) != QLatin1String("image/png"))
                ++wrong;
        }
        return wrong;
    };
    QFuture<int> a = QtConcurrent::run(work);
    QFuture<int> b = QtConcurrent::run(work);
    QCOMPARE(a.result() + b.result(), 0);
}

QTEST_GUILESS_MAIN(TestContentTypes)
#include "tst_contenttypes.moc"
