#include <QtConcurrent>
#include <QtTest>

#include "items/filter.h"
#include "frontend/getfilter.h"
#include "items/drive.h"
#include "items/localfile.h"
#include "items/localfolder.h"

using FilterOptions = QList<QPair<QString, QString>>;
Q_DECLARE_METATYPE(FilterOptions)

class TestFilter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void getFilterParsesOption_data();
    void getFilterParsesOption();
    void matching_data();
    void matching();
    void skip_data();
    void skip();
    void sharedAcrossThreads();
};

namespace {

// A listed file at an absolute path (a folder when it ends with '/', nothing when
// empty), hanging on a chain of folders from "/".
QSharedPointer<AbstractItem> itemAt(const QString& path)
{
    QSharedPointer<AbstractLocalContainer> container = QSharedPointer<Drive>::create(
        QLatin1Char('/'), QStringLiteral("/"), QSharedPointer<MyComputer>());
    const QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (int i = 0; i + 1 < parts.size(); ++i)
        container = QSharedPointer<LocalFolder>::create(container, parts.at(i));
    if (path.isEmpty())
        return {};
    if (path.endsWith(QLatin1Char('/')))
        return QSharedPointer<LocalFolder>::create(container, parts.last());
    return QSharedPointer<LocalFile>::create(container, path, parts.last().size(), QDateTime(), 0);
}

QSharedPointer<AbstractFile> fileAt(const QString& path)
{
    return itemAt(path).staticCast<AbstractFile>();
}

} // namespace

void TestFilter::getFilterParsesOption_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<int>("directive");
    QTest::addColumn<int>("filterType");
    QTest::addColumn<int>("caseSensitivity");
    QTest::addColumn<int>("syntax");
    const int include = AbstractFilterItem::Include, exclude = AbstractFilterItem::Exclude;
    const int cs = Qt::CaseSensitive, ci = Qt::CaseInsensitive;
    QTest::newRow("exclude alone") << "--exclude" << exclude << 0 << cs << int(QRegExp::Wildcard);
    QTest::newRow("any order") << "--exclude-ci-regexp-filepath" << exclude << 1 << ci << int(QRegExp::RegExp);
    QTest::newRow("greedy") << "--include-regexp2-filename" << include << 0 << cs << int(QRegExp::RegExp2);
    QTest::newRow("later wins") << "--include-exclude-ci-cs-regexp-wildcard-filepath-filename" << exclude << 0 << cs << int(QRegExp::Wildcard);
    // The first two characters are dropped whatever they are.
    QTest::newRow("any prefix") << "xxinclude-ci" << include << 0 << ci << int(QRegExp::Wildcard);
    // Refused: no filter at all.
    QTest::newRow("upper-case part") << "--INCLUDE-cs-filename" << -1 << 0 << cs << 0;
    QTest::newRow("trailing dash") << "--include-" << -1 << 0 << cs << 0;
    QTest::newRow("double dash") << "--include--filename" << -1 << 0 << cs << 0;
    QTest::newRow("unknown part") << "--include-glob-filename" << -1 << 0 << cs << 0;
    QTest::newRow("nothing after prefix") << "--" << -1 << 0 << cs << 0;
}

void TestFilter::getFilterParsesOption()
{
    QFETCH(QString, option);
    QFETCH(int, directive);
    QFETCH(int, filterType);
    QFETCH(int, caseSensitivity);
    QFETCH(int, syntax);
    const QString value = QStringLiteral("-starts with a dash*");
    const auto item = getFilter(option, value);
    QCOMPARE(item.isNull(), directive < 0);
    if (!item)
        return;
    QCOMPARE(int(item->directive()), directive);
    QCOMPARE(item->filterType(), filterType);
    const QRegExp regExp = item.staticCast<RegExpFilterItem>()->regExp();
    QCOMPARE(regExp.pattern(), value);
    QCOMPARE(int(regExp.caseSensitivity()), caseSensitivity);
    QCOMPARE(int(regExp.patternSyntax()), syntax);
}

void TestFilter::matching_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("matches");
    const QString txt = QStringLiteral("/home/robin/docs/A.TXT");
    QTest::newRow("unix escape literal") << "--include-wildcardunix-filename" << "a\\*b" << "/x/a*b" << true;
    QTest::newRow("plain wildcard has no escape") << "--include-wildcard-filename" << "a\\*b" << "/x/a*b" << false;
    QTest::newRow("regexp must match whole name") << "--include-regexp-filename" << "TXT" << txt << false;
    QTest::newRow("name never holds the path") << "--include-filename" << "docs/*" << txt << false;
    QTest::newRow("path must match from start") << "--include-filepath" << "docs/*" << txt << false;
    QTest::newRow("path star crosses folders") << "--include-filepath" << "/home*.TXT" << txt << true;
    QTest::newRow("folder by name") << "--include-filename" << "l?b" << "/src/lib/" << true;
    QTest::newRow("folder by path") << "--include-filepath" << "/src/lib" << "/src/lib/" << true;
    QTest::newRow("folder path from start") << "--include-filepath" << "lib" << "/src/lib/" << false;
    QTest::newRow("no item") << "--include-filename" << "*" << "" << false;
}

void TestFilter::matching()
{
    QFETCH(QString, option);
    QFETCH(QString, pattern);
    QFETCH(QString, path);
    QFETCH(bool, matches);
    const auto item = getFilter(option, pattern);
    QVERIFY(item);
    QCOMPARE(item->match(itemAt(path)), matches);
    // A second try on the same item gives the same answer.
    QCOMPARE(item->match(itemAt(path)), matches);
}

void TestFilter::skip_data()
{
    QTest::addColumn<FilterOptions>("options");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("skipped");
    const QString inc = QStringLiteral("--include-filename");
    const QString exc = QStringLiteral("--exclude-filename");
    const QString txt = QStringLiteral("/d/a.txt");
    // Plain inclusions and exclusions are e2e.local_sync's.
    QTest::newRow("exclusion wins though later") << FilterOptions{{inc, "*.txt"}, {exc, "a.*"}} << txt << true;
    QTest::newRow("both, only inclusion matches") << FilterOptions{{exc, "z*"}, {inc, "*.txt"}} << txt << false;
}

void TestFilter::skip()
{
    QFETCH(FilterOptions, options);
    QFETCH(QString, path);
    QFETCH(bool, skipped);
    Filter filter;
    for (const auto& option : options)
        filter.append(getFilter(option.first, option.second));
    QCOMPARE(filter.skip(fileAt(path)), skipped);
    // A copy carries the same items; adding to it leaves the original alone.
    Filter copy = filter;
    copy.append(getFilter(QStringLiteral("--exclude-filename"), QStringLiteral("*")));
    QCOMPARE(filter.skip(fileAt(path)), skipped);
    QVERIFY(copy.skip(fileAt(path)));
}

// Listings on several handler threads ask one filter at once.
void TestFilter::sharedAcrossThreads()
{
    Filter filter;
    filter.append(getFilter(QStringLiteral("--exclude-regexp-filename"), QStringLiteral("(x|y)+\\.tmp")));
    filter.append(getFilter(QStringLiteral("--include-ci-filepath"), QStringLiteral("*/KEEP/*")));
    const QList<QPair<QSharedPointer<AbstractFile>, bool>> cases = {
        {fileAt("/keep/a.txt"), false}, {fileAt("/keep/xyxy.tmp"), true}, {fileAt("/other/a.txt"), true}, {fileAt("/Keep/deep/b"), false}};
    auto work = [&] {
        int wrong = 0;
        for (int i = 0; i < 4000; ++i) {
            const auto& entry = cases.at(i % cases.size());
            if (filter.skip(entry.first) != entry.second)
                ++wrong;
        }
        return wrong;
    };
    QList<QFuture<int>> runs;
    for (int i = 0; i < 4; ++i)
        runs.append(QtConcurrent::run(work));
    for (auto& run : runs)
        QCOMPARE(run.result(), 0);
}

QTEST_GUILESS_MAIN(TestFilter)
#include "tst_filter.moc"
