#include "logcapture.h"

#include <imageplayhelper.h>
#include <playerpath.h>
#include <playersettings.h>
#include <spdlogger.h>

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

class TestHostApi : public QObject {
    Q_OBJECT
private slots:
    void imageCachePath();
    void imageNameCache();
    void fontMapping_data();
    void fontMapping();
    void logHead();
};

// Runs first, so that the default directory is asked for before anything was set. Each directory
// is made on first use: the default, one the host sets, and the default again.
void TestHostApi::imageCachePath()
{
    QTemporaryDir dir;
    qputenv("XDG_CACHE_HOME", QFile::encodeName(dir.filePath("xdg")));
    const QString set = dir.filePath("a/../b/images");
    const QStringList expected { dir.filePath("xdg/effectdisplay/images"), QDir::cleanPath(set) };
    QCOMPARE(PlayerPath::defaultImageCachePath(), expected[0]);
    for (int i = 0; i < 3; ++i) {
        if (i > 0)
            PlayerPath::getInstance().setImageCachePath(i == 1 ? set : QString());
        const QString path = expected[i % 2];
        QVERIFY(!QFileInfo::exists(path));
        QCOMPARE(PlayerPath::getInstance().getImageCachePath(), path);
        QVERIFY(QFileInfo(path).isDir() && QDir(path).removeRecursively());
    }
    // A path through a plain file cannot be a directory.
    LogCapture log;
    log.expectError("cannot create the image cache directory");
    PlayerPath::getInstance().setImageCachePath(QCoreApplication::applicationFilePath() + "/images");
    QCOMPARE(PlayerPath::getInstance().getImageCachePath(), QString());
    QCOMPARE(log.count("cannot create the image cache directory"), 1);
}

// A task never seen, or cleared, must be rendered; names come back in the order appended.
void TestHostApi::imageNameCache()
{
    auto& cache = ImagePlayHelper::getInstance();
    const QStringList names { "/c/LUMORAX1a.png", "/c/LUMORAX1b.png" };
    for (const QString& name : names)
        cache.appendImageName("LUMORAX1", name);
    QVERIFY(cache.getFirstPlayFlag("LUMORAX1") && cache.getFirstPlayFlag("LUMORAX2"));
    cache.setFirstPlayFlag("LUMORAX1", false);
    cache.setFirstPlayFlag("LUMORAX2", false);
    cache.clearTaskImageCache("LUMORAX2");
    QVERIFY(!cache.getFirstPlayFlag("LUMORAX1") && cache.getFirstPlayFlag("LUMORAX2"));
    QCOMPARE(cache.getImageName("LUMORAX1"), names);
    cache.clearTaskImageCache("LUMORAX1");
    QVERIFY(cache.getFirstPlayFlag("LUMORAX1") && cache.getImageName("LUMORAX1").isEmpty());
}

void TestHostApi::fontMapping_data()
{
    QTest::addColumn<QStringList>("names"); // given; as mapped; as mapped after a clear
    QTest::newRow("default mapping") << QStringList { "Times New Roman", "Liberation Serif", "Times New Roman" };
    QTest::newRow("replaced, case and blanks ignored") << QStringList { " arial ", "Custom Sans", " arial " };
    QTest::newRow("CJK name") << QStringList { "微软雅黑", "WenQuanYi Micro Hei", "微软雅黑" };
    QTest::newRow("removed") << QStringList { "SimSun", "SimSun", "SimSun" };
    QTest::newRow("added after a clear") << QStringList { "Signage", "Signage", "DejaVu Sans" };
}

void TestHostApi::fontMapping()
{
    QFETCH(QStringList, names);
    auto& settings = PlayerSettings::getInstance();
    settings.setFontFamilyMapping("ARIAL", "Custom Sans");
    settings.removeFontFamilyMapping(" simsun");
    QString family = names[0];
    settings.convertFontFamily(family);
    QCOMPARE(family, names[1]);
    settings.clearFontFamilyMappings();
    settings.setFontFamilyMapping("signage", "DejaVu Sans");
    family = names[0];
    settings.convertFontFamily(family);
    QCOMPARE(family, names[2]);
    settings.resetFontFamilyMappings();
}

void TestHostApi::logHead()
{
    LogCapture log;
    const int line = __LINE__ + 1;
    PLAYER_LOG(debug, "value {} and {}", 42, "text");
    QCOMPARE(
        log.lines(), QStringList { QStringLiteral("debug [tst_hostapi.cpp:logHead:%1] value 42 and text").arg(line) });
}

QTEST_GUILESS_MAIN(TestHostApi)
#include "tst_hostapi.moc"
