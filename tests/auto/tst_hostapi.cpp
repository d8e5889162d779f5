#include "logcapture.h"

#include <imageplayhelper.h>
#include <playerpath.h>
#include <playersettings.h>
#include <spdlogger.h>

#include <spdlog/sinks/ringbuffer_sink.h>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

class TestHostApi : public QObject {
    Q_OBJECT
private slots:
    void cacheTable_data();
    void cacheTable();
    void cacheTasksAreSeparate();
    void imagePathIsCreatedAndSettable();
    void fontMapping_data();
    void fontMapping();
    void logHead();
    void logLevelAndSinks();
};

void TestHostApi::cacheTable_data()
{
    QTest::addColumn<QStringList>("appended");
    QTest::addColumn<bool>("setFlagFalse");
    QTest::addColumn<bool>("clearAfter");
    QTest::addColumn<bool>("expectedFlag");
    QTest::addColumn<QStringList>("expectedNames");

    const QStringList three { "/c/LUMORAX1a.png", "/c/LUMORAX1b.png", "/c/LUMORAX1c.png" };
    QTest::newRow("never seen") << QStringList() << false << false << true << QStringList();
    QTest::newRow("appended, flag untouched") << three << false << false << true << three;
    QTest::newRow("appended, flag false") << three << true << false << false << three;
    QTest::newRow("cleared") << three << true << true << true << QStringList();
}

void TestHostApi::cacheTable()
{
    QFETCH(QStringList, appended);
    QFETCH(bool, setFlagFalse);
    QFETCH(bool, clearAfter);
    QFETCH(bool, expectedFlag);
    QFETCH(QStringList, expectedNames);

    auto& helper = ImagePlayHelper::getInstance();
    const QString task = QStringLiteral("LUMORAX-") + QTest::currentDataTag();
    for (const QString& name : appended) {
        if (setFlagFalse)
            helper.setFirstPlayFlag(task, false);
        helper.appendImageName(task, name);
    }
    if (clearAfter)
        helper.clearTaskImageCache(task);

    QCOMPARE(helper.getFirstPlayFlag(task), expectedFlag);
    QCOMPARE(helper.getImageName(task), expectedNames);
}

void TestHostApi::cacheTasksAreSeparate()
{
    auto& helper = ImagePlayHelper::getInstance();
    helper.setFirstPlayFlag("LUMORAX7", false);
    helper.appendImageName("LUMORAX7", "a.png");
    helper.appendImageName("LUMORAX8", "b.png");
    helper.clearTaskImageCache("LUMORAX8");

    QCOMPARE(helper.getImageName("LUMORAX7"), QStringList { "a.png" });
    QVERIFY(!helper.getFirstPlayFlag("LUMORAX7"));
    QVERIFY(helper.getImageName("LUMORAX8").isEmpty());
    // Set again after a clear: the entry starts over.
    helper.appendImageName("LUMORAX8", "c.png");
    QCOMPARE(helper.getImageName("LUMORAX8"), QStringList { "c.png" });
}

void TestHostApi::imagePathIsCreatedAndSettable()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    auto& paths = PlayerPath::getInstance();

    const QString nested = dir.filePath("a/b/images");
    paths.setImageCachePath(nested);
    QCOMPARE(paths.getImageCachePath(), QDir::cleanPath(nested));
    QVERIFY(QFileInfo(nested).isDir());

    // An empty path restores the default, which is created as well.
    paths.setImageCachePath(QString());
    QCOMPARE(paths.getImageCachePath(), PlayerPath::defaultImageCachePath());
    QVERIFY(QFileInfo(PlayerPath::defaultImageCachePath()).isDir());

    // A path that cannot be a directory gives an empty result and an error line.
    LogCapture log;
    log.expectError("cannot create the image cache directory");
    QFile blocker(dir.filePath("file"));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    paths.setImageCachePath(dir.filePath("file/images"));
    QVERIFY(paths.getImageCachePath().isEmpty());
    QCOMPARE(log.count("cannot create the image cache directory"), 1);
    paths.setImageCachePath(QString());
}

void TestHostApi::fontMapping_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    QTest::newRow("unmapped stays") << "DejaVu Sans"
                                    << "DejaVu Sans";
    QTest::newRow("mapped") << "Arial"
                            << "Liberation Sans";
    QTest::newRow("case and blanks ignored") << " arial "
                                             << "Liberation Sans";
    QTest::newRow("CJK name") << "微软雅黑"
                              << "WenQuanYi Micro Hei";
    QTest::newRow("removed mapping") << "SimSun"
                                     << "SimSun";
    QTest::newRow("empty") << ""
                           << "";
}

void TestHostApi::fontMapping()
{
    QFETCH(QString, input);
    QFETCH(QString, expected);

    auto& settings = PlayerSettings::getInstance();
    settings.clearFontFamilyMappings();
    settings.setFontFamilyMapping("Arial", "Liberation Sans");
    settings.setFontFamilyMapping("微软雅黑", "WenQuanYi Micro Hei");
    settings.setFontFamilyMapping("SimSun", "WenQuanYi Micro Hei");
    settings.removeFontFamilyMapping("simsun");

    QString family = input;
    settings.convertFontFamily(family);
    QCOMPARE(family, expected);
    settings.resetFontFamilyMappings();
}

void TestHostApi::logHead()
{
    LogCapture log;
    const int line = __LINE__ + 1;
    PLAYER_LOG(debug, "value {} and {}", 42, "text");

    const QStringList lines = log.lines();
    QCOMPARE(lines.size(), 1);
    const QString expected = QStringLiteral("debug [tst_hostapi.cpp:logHead:%1] value 42 and text").arg(line);
    QCOMPARE(lines.first(), expected);
}

void TestHostApi::logLevelAndSinks()
{
    LogCapture log;
    SpdLogger::setLevel(spdlog::level::warn);
    PLAYER_LOG(debug, "hidden");
    PLAYER_LOG(warn, "shown");
    QCOMPARE(log.count("hidden"), 0);
    QCOMPARE(log.count("shown"), 1);

    // A sink added by the host sees the lines logged while it is attached, and only those.
    SpdLogger::setLevel(spdlog::level::trace);
    auto extra = std::make_shared<spdlog::sinks::ringbuffer_sink_mt>(16);
    SpdLogger::addSink(extra);
    PLAYER_LOG(trace, "while attached");
    SpdLogger::removeSink(extra);
    PLAYER_LOG(info, "after removal");
    QCOMPARE(extra->last_formatted().size(), size_t(1));
    QVERIFY(QString::fromStdString(extra->last_formatted().front()).contains("while attached"));
    QCOMPARE(log.count("while attached"), 1);
    QCOMPARE(log.count("after removal"), 1);
}

QTEST_GUILESS_MAIN(TestHostApi)
#include "tst_hostapi.moc"
