// The text player end to end: a widget description goes in, status 1 comes back and pages turn
// on the screen; a second play of the same task replays the cached files. Page counts and sizes
// come from QFontMetrics of the installed fonts.
#include "logcapture.h"

#include <ctrlimageplay.h>
#include <effectdisplay.h>
#include <fromstring.h>
#include <imageplayhelper.h>
#include <playerpath.h>
#include <playtext.h>

#include <QDir>
#include <QFileInfo>
#include <QFontMetrics>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <nlohmann/json.hpp>

#include <memory>

namespace {

const QString kFamily = QStringLiteral("DejaVu Sans");
constexpr int kPixelSize = 20;
constexpr QSize kRegion { 320, 120 };
constexpr char kRunBackground[] = "#FFFF0000"; // opaque red behind every run
constexpr char kRegionBackground[] = "#FF000080"; // opaque navy: the first paragraph's colour
// Long enough for any render of these small texts on a loaded machine.
constexpr int kRenderTimeoutMs = 20000;

QFont textFont()
{
    QFont font;
    font.setFamily(kFamily);
    font.setPixelSize(kPixelSize);
    return font;
}

// Lines of text that fill one page of kRegion: a line ending at the bottom edge opens a new page.
int linesPerPage()
{
    const QFontMetrics fm(textFont());
    return (kRegion.height() - 1) / (fm.ascent() + fm.descent());
}

struct TextOptions {
    int type = ns::PAGE_SWITCH;
    int pages = 1;
    int pageEffect = 0;
    int pageEffectDuration = 1000;
    int pageStayTime = 10000;
    bool sync = false;
};

// The JSON text of a text item with `pages` full pages of short lines.
std::string textRecord(const TextOptions& options)
{
    nlohmann::json lines = nlohmann::json::array();
    for (int i = 0; i < options.pages * linesPerPage(); ++i)
        lines.push_back({ { { "attributeId", 1 }, { "text", "Line " + std::to_string(i) } } });
    const nlohmann::json record = {
        { "content",
            {
                { "displayStyle",
                    { { "type", options.type }, { "pageEffect", options.pageEffect },
                        { "pageEffectDuration", options.pageEffectDuration },
                        { "pageStayTime", options.pageStayTime } } },
                { "textAttributes",
                    { { { "id", 1 },
                        { "style",
                            { { "bkColor", kRunBackground }, { "textColor", "#FFFFFFFF" },
                                { "fontFamilies", { kFamily.toStdString() } }, { "fontStyle", 1 },
                                { "pixelSize", kPixelSize } } } } } },
                { "paragraphs",
                    { { { "vAlignment", 0 }, { "hAlignment", 0 }, { "bkColor", kRegionBackground },
                        { "lines", lines } } } },
                { "textSyncWithMusic", options.sync },
            } },
    };
    return record.dump();
}

ns::Widget textWidget(int id, const std::string& jsonText, int duration = 10000)
{
    ns::Widget widget;
    widget.id = id;
    widget.duration = duration;
    widget.jsonText = jsonText;
    return widget;
}

// Smallest rectangle holding every pixel of the runs' opaque red.
QRect redBounds(const QImage& image)
{
    QRect bounds;
    const QRgb red = QColor(kRunBackground).rgba();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) == red)
                bounds |= QRect(x, y, 1, 1);
        }
    }
    return bounds;
}

QString taskOf(int id)
{
    return QStringLiteral("LUMORAX%1").arg(id);
}

// One host region with its player, as a host lays them out.
struct Region {
    QWidget parent;
    QPointer<playtext> player;
    QList<EnumMediaStatus> statuses;

    Region()
    {
        parent.resize(kRegion);
        player = new playtext(&parent);
    }
    void init(const ns::Widget& widget)
    {
        player->iInit(widget, [this](EnumMediaStatus status) { statuses.append(status); });
        player->iPlay();
    }
    ImagePlayCtrl* control() const { return player ? player->findChild<ImagePlayCtrl*>() : nullptr; }
};

} // namespace

class TestPlayText : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void firstPlayRendersThenReplays_data();
    void firstPlayRendersThenReplays();
    void missingCachedFileRendersAgain();
    void taskWithoutTheWordIsNeverCached();
    void emptyTextReportsAtOnce_data();
    void emptyTextReportsAtOnce();
    void pagePeriods_data();
    void pagePeriods();
    void pagesJoinTheRoundWithoutRestart();
    void staticPageFiresThroughPause();
    void firstPageIsOnScreen();
    void destroyTwiceOnlyLogs();
    void fileRemoverOutlivesControl_data();
    void fileRemoverOutlivesControl();
    void destroyWhileRendering_data();
    void destroyWhileRendering();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<LogCapture> m_log;
    int m_nextId = 100;
};

void TestPlayText::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    PlayerPath::getInstance().setImageCachePath(m_dir->path());
    m_log = std::make_unique<LogCapture>();
}

void TestPlayText::cleanup()
{
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
    PlayerPath::getInstance().setImageCachePath(QString());
    m_dir.reset();
}

void TestPlayText::firstPlayRendersThenReplays_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("pages");
    QTest::newRow("paged, one page") << int(ns::PAGE_SWITCH) << 1;
    QTest::newRow("paged, three pages") << int(ns::PAGE_SWITCH) << 3;
    QTest::newRow("static, two pages") << int(ns::STATIC_PAGE) << 2;
}

void TestPlayText::firstPlayRendersThenReplays()
{
    QFETCH(int, type);
    QFETCH(int, pages);

    const int id = ++m_nextId;
    TextOptions options;
    options.type = type;
    options.pages = pages;
    const ns::Widget widget = textWidget(id, textRecord(options));
    auto& helper = ImagePlayHelper::getInstance();
    QVERIFY(helper.getFirstPlayFlag(taskOf(id)));

    QStringList rendered;
    {
        Region region;
        region.init(widget);
        // The render runs on a worker: iInit returns before any file is there.
        QVERIFY(region.statuses.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(region.statuses, QList<EnumMediaStatus> { MediaReady }, kRenderTimeoutMs);
        QTRY_COMPARE_WITH_TIMEOUT(region.control()->imageNames().size(), pages, kRenderTimeoutMs);
        rendered = region.control()->imageNames();
        QCOMPARE(helper.getImageName(taskOf(id)), rendered);
        QVERIFY(!helper.getFirstPlayFlag(taskOf(id)));
        region.player->hide();
        region.player->iStop();
        region.player->iDestory();
    }
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), pages);

    // The second play of the task makes no thread: every name is with the control, in order, when
    // iInit returns, and ready has been reported inside it.
    Region again;
    again.init(widget);
    QCOMPARE(again.control()->imageNames(), rendered);
    QCOMPARE(again.statuses, QList<EnumMediaStatus> { MediaReady });
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), pages);
}

void TestPlayText::missingCachedFileRendersAgain()
{
    const int id = ++m_nextId;
    TextOptions options;
    options.pages = 2;
    const ns::Widget widget = textWidget(id, textRecord(options));
    auto& helper = ImagePlayHelper::getInstance();
    {
        Region region;
        region.init(widget);
        QTRY_COMPARE_WITH_TIMEOUT(helper.getImageName(taskOf(id)).size(), 2, kRenderTimeoutMs);
    }
    // The last file has gone: the replay reports ready for the first page and again for the missing
    // last one, and the task's cache is dropped.
    QVERIFY(QFile::remove(helper.getImageName(taskOf(id)).last()));
    {
        Region region;
        region.init(widget);
        QCOMPARE(region.statuses, (QList<EnumMediaStatus> { MediaReady, MediaReady }));
        QCOMPARE(region.control()->imageNames().size(), 1);
        QVERIFY(helper.getFirstPlayFlag(taskOf(id)));
        QVERIFY(helper.getImageName(taskOf(id)).isEmpty());
    }
    // So the next play renders the text anew.
    Region region;
    region.init(widget);
    QVERIFY(region.statuses.isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(helper.getImageName(taskOf(id)).size(), 2, kRenderTimeoutMs);
}

void TestPlayText::taskWithoutTheWordIsNeverCached()
{
    TextOptions options;
    options.pages = 2;
    ns::RichTextInfo info;
    from_string(textRecord(options), info);
    auto& helper = ImagePlayHelper::getInstance();
    const QString task = QStringLiteral("feed-%1").arg(++m_nextId);
    for (int play = 1; play <= 2; ++play) {
        Region region;
        QSignalSpy ready(region.player.data(), &playtext::playTextReady);
        region.player->setTaskID(task);
        region.player->play(info);
        QVERIFY(ready.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(region.control()->imageNames().size(), 2, kRenderTimeoutMs);
        QCOMPARE(ready.size(), 1);
        // Without a callback no status goes anywhere, and the widget gets no background.
        QVERIFY(!region.player->autoFillBackground());
        QVERIFY(helper.getFirstPlayFlag(task));
        QVERIFY(helper.getImageName(task).isEmpty());
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), 2 * play);
    }
}

void TestPlayText::emptyTextReportsAtOnce_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("error");
    QTest::addColumn<bool>("background");

    QTest::newRow("no paragraphs") << QByteArray(R"({"content":{"paragraphs":[]}})")
                                   << "richTextInfo.content.paragraphs is empty" << false;
    QTest::newRow("one paragraph without lines")
        << QByteArray(R"({"content":{"paragraphs":[{"bkColor":"#FF000080","lines":[]}]}})") << "empty arch_text"
        << true;
    QTest::newRow("broken JSON") << QByteArray(R"({"content":{"paragraphs":[)") << "is no rich text record" << false;
}

void TestPlayText::emptyTextReportsAtOnce()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, error);
    QFETCH(bool, background);

    m_log->expectError(error);
    m_log->expectError(QStringLiteral("richTextInfo.content.paragraphs is empty"));
    Region region;
    region.init(textWidget(++m_nextId, json.toStdString()));
    QCOMPARE(region.statuses, QList<EnumMediaStatus> { MediaReady });
    QCOMPARE(m_log->count(error), 1);
    QVERIFY(region.player->isVisible() || !region.parent.isVisible());
    QVERIFY(!region.player->findChild<ImagePlayCtrl*>());
    // Only the background shows: the first paragraph's colour, or transparent without one.
    const QColor expected = background ? QColor(kRegionBackground) : QColor(0, 0, 0, 0);
    QCOMPARE(region.player->palette().color(QPalette::Window).rgba(), expected.rgba());
}

void TestPlayText::pagePeriods_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<int>("pages");
    QTest::addColumn<int>("pageEffect");
    QTest::addColumn<int>("speed");
    QTest::addColumn<int>("effectTime");

    // duration 10000, stay 7000, effect time 900 throughout
    QTest::newRow("paged: the stay time") << int(ns::PAGE_SWITCH) << false << 2 << 0x10 << 7000 << 900;
    QTest::newRow("paged, effect 0: no effect time") << int(ns::PAGE_SWITCH) << false << 1 << 0 << 7000 << 0;
    QTest::newRow("sync, four pages share the duration") << int(ns::PAGE_SWITCH) << true << 4 << 0x10 << 2500 << 900;
    QTest::newRow("sync, three pages") << int(ns::PAGE_SWITCH) << true << 3 << 0x10 << 3333 << 900;
    QTest::newRow("static: the duration, no effect") << int(ns::STATIC_PAGE) << false << 2 << 0x10 << 10000 << 0;
    QTest::newRow("static in sync") << int(ns::STATIC_PAGE) << true << 2 << 0x10 << 10000 << 0;
}

void TestPlayText::pagePeriods()
{
    QFETCH(int, type);
    QFETCH(bool, sync);
    QFETCH(int, pages);
    QFETCH(int, pageEffect);
    QFETCH(int, speed);
    QFETCH(int, effectTime);

    TextOptions options;
    options.type = type;
    options.sync = sync;
    options.pages = pages;
    options.pageEffect = pageEffect;
    options.pageEffectDuration = 900;
    options.pageStayTime = 7000;
    Region region;
    region.init(textWidget(++m_nextId, textRecord(options), 10000));
    QTRY_COMPARE_WITH_TIMEOUT(region.statuses.size(), 1, kRenderTimeoutMs);
    // In sync mode nothing shows before the last page has come.
    if (sync)
        QCOMPARE(region.control()->imageNames().size(), pages);
    QCOMPARE(region.control()->speed(), speed);
    QCOMPARE(region.control()->effectTime(), effectTime);
    QCOMPARE(region.control()->effectDisplay()->currentEffect(), type == ns::STATIC_PAGE ? 0 : pageEffect);
}

void TestPlayText::pagesJoinTheRoundWithoutRestart()
{
    // Three page files handed over one by one while the first is already up.
    QStringList files;
    for (const QColor& color : { QColor(Qt::red), QColor(Qt::green), QColor(Qt::blue) }) {
        QImage page(kRegion, QImage::Format_ARGB32);
        page.fill(color);
        files << m_dir->filePath(QStringLiteral("page-%1.png").arg(files.size()));
        QVERIFY(page.save(files.last()));
    }
    QWidget parent;
    parent.resize(kRegion);
    ImagePlayCtrl control(&parent);
    ns::DisplayStyle style;
    style.type = ns::PAGE_SWITCH;
    style.pageStayTime = 150;
    control.initImagePlay(style, ns::ALIGN_TOP, ns::ALIGN_LEFT);
    QSignalSpy ready(&control, &ImagePlayCtrl::signalsImageReady);
    QSignalSpy shown(control.effectDisplay(), &EffectDisplay::signalsImageInitOk);

    control.slotAppend(files.at(0), false);
    QCOMPARE(ready.size(), 1);
    QCOMPARE(shown.size(), 1);
    control.slotAppend(files.at(1), false);
    control.slotAppend(files.at(2), true);
    // Nothing restarted: no second ready, no second show before the timer's turn.
    QCOMPARE(ready.size(), 1);
    QCOMPARE(shown.size(), 1);
    QCOMPARE(control.currentIndex(), 0);

    // The timer reaches them one by one, then the round begins again.
    QList<int> order;
    while (order.size() < 4) {
        QVERIFY(shown.wait(10 * style.pageStayTime));
        order << control.currentIndex();
    }
    QCOMPARE(order, (QList<int> { 1, 2, 0, 1 }));
    QCOMPARE(ready.size(), 1);
}

void TestPlayText::staticPageFiresThroughPause()
{
    TextOptions options;
    options.type = ns::STATIC_PAGE;
    options.pages = 2;
    constexpr int kDuration = 120;
    Region region;
    region.init(textWidget(++m_nextId, textRecord(options), kDuration));
    QTRY_COMPARE_WITH_TIMEOUT(region.control()->imageNames().size(), 2, kRenderTimeoutMs);
    QSignalSpy shown(region.control()->effectDisplay(), &EffectDisplay::signalsImageInitOk);
    region.player->iPause();
    // Paused or not, the first page is shown afresh every duration; the second is never shown.
    QTRY_VERIFY_WITH_TIMEOUT(shown.size() >= 3, 20 * kDuration);
    QCOMPARE(region.control()->currentIndex(), 0);
    region.player->iResume();
}

void TestPlayText::firstPageIsOnScreen()
{
    TextOptions options;
    options.pages = 2;
    Region region;
    region.parent.show();
    region.init(textWidget(++m_nextId, textRecord(options)));
    QTRY_COMPARE_WITH_TIMEOUT(region.statuses.size(), 1, kRenderTimeoutMs);
    QVERIFY(region.player->isVisible());

    // What a viewer sees once the first page is up: the region's colour, and on it the first page
    // with its lines, each on the red of its run, from the top left down.
    const QImage page(region.control()->imageNames().first());
    QCOMPARE(page.size(), kRegion);
    const QRect pageText = redBounds(page);
    QCOMPARE(pageText.topLeft(), QPoint(0, 0));
    QTRY_VERIFY_WITH_TIMEOUT(!redBounds(region.player->grab().toImage()).isEmpty(), kRenderTimeoutMs);
    const QImage screen = region.player->grab().toImage();
    const QRect shown = redBounds(screen);
    // The display fits the page one pixel short of the region: edges may move by a pixel.
    for (const auto& edge : { qMakePair(shown.left(), pageText.left()), qMakePair(shown.top(), pageText.top()),
             qMakePair(shown.right(), pageText.right()), qMakePair(shown.bottom(), pageText.bottom()) })
        QVERIFY2(qAbs(edge.first - edge.second) <= 1,
            qPrintable(QStringLiteral("on screen %1, in the page %2").arg(edge.first).arg(edge.second)));
    // Right of the lines and below the last one, the region's background shows.
    QCOMPARE(screen.pixelColor(kRegion.width() - 5, 5), QColor(kRegionBackground));
    QCOMPARE(screen.pixelColor(5, kRegion.height() - 3), QColor(kRegionBackground));
}

void TestPlayText::destroyTwiceOnlyLogs()
{
    Region region;
    region.init(textWidget(++m_nextId, textRecord(TextOptions())));
    region.player->iPause(); // before the first image: no failure
    region.player->iDestory();
    region.player->iDestory();
    QCOMPARE(m_log->count(QStringLiteral("playtext iDestory begin")), 2);
    QCOMPARE(m_log->count(QStringLiteral("playtext::iDestory  end")), 2);
    QVERIFY(!region.control());
    region.player->iPause();
    region.player->iResume();
    delete region.player.data();
    QCOMPARE(m_log->count(QStringLiteral("playtext iDestory begin")), 3);
}

void TestPlayText::fileRemoverOutlivesControl_data()
{
    QTest::addColumn<bool>("deletePic");
    QTest::newRow("files kept by default") << false;
    QTest::newRow("files removed after the control") << true;
}

void TestPlayText::fileRemoverOutlivesControl()
{
    QFETCH(bool, deletePic);

    constexpr int kFiles = 300;
    QStringList files;
    for (int i = 0; i < kFiles; ++i) {
        QImage page(QSize(40, 20), QImage::Format_ARGB32);
        page.fill(QColor::fromHsv(i % 360, 200, 200));
        files << m_dir->filePath(QStringLiteral("page-%1.png").arg(i));
        QVERIFY(page.save(files.last()));
    }
    {
        QWidget parent;
        parent.resize(kRegion);
        auto* control = new ImagePlayCtrl(&parent);
        ns::DisplayStyle style;
        style.type = ns::PAGE_SWITCH;
        control->initImagePlay(style, ns::ALIGN_TOP, ns::ALIGN_LEFT);
        control->setDeletePic(deletePic);
        for (int i = 0; i < kFiles; ++i)
            control->slotAppend(files.at(i), i == kFiles - 1);
        // One file has gone already: the remover passes over it in silence.
        QVERIFY(QFile::remove(files.at(kFiles / 2)));
        // The control and its parent go at once; the remover works on its own copy of the names.
    }
    const auto left = [&] {
        int count = 0;
        for (const QString& file : files)
            count += QFile::exists(file);
        return count;
    };
    if (deletePic) {
        QTRY_COMPARE_WITH_TIMEOUT(left(), 0, kRenderTimeoutMs);
        QTRY_COMPARE(m_log->count(QStringLiteral("detory imageNames size = %1").arg(kFiles)), 1);
    } else {
        QCOMPARE(left(), kFiles - 1);
        QCOMPARE(m_log->count(QStringLiteral("detory imageNames size")), 0);
    }
}

void TestPlayText::destroyWhileRendering_data()
{
    QTest::addColumn<bool>("destroyFirst"); // iDestory before the destructor, or the destructor alone
    QTest::addColumn<int>("spinBeforeDestroy"); // event loop turns between play and destroy
    QTest::newRow("iDestory at once") << true << 0;
    QTest::newRow("destructor at once") << false << 0;
    QTest::newRow("iDestory after some pages") << true << 20;
    QTest::newRow("destructor after some pages") << false << 20;
}

void TestPlayText::destroyWhileRendering()
{
    QFETCH(bool, destroyFirst);
    QFETCH(int, spinBeforeDestroy);

    // Long texts destroyed while their workers render and their pages are queued: nothing may
    // crash, nothing may reach the gone player, and no file may appear once a worker has stopped.
    TextOptions options;
    options.pages = 40;
    const std::string json = textRecord(options);
    auto& helper = ImagePlayHelper::getInstance();
    constexpr int kRounds = 25;
    for (int round = 0; round < kRounds; ++round) {
        const int id = ++m_nextId;
        auto region = std::make_unique<Region>();
        region->init(textWidget(id, json));
        for (int i = 0; i < spinBeforeDestroy; ++i)
            QCoreApplication::processEvents();
        if (destroyFirst)
            region->player->iDestory();
        region.reset();
        const int cached = helper.getImageName(taskOf(id)).size();
        QCoreApplication::processEvents();
        // Pages queued before the stop are dropped with the player.
        QCOMPARE(helper.getImageName(taskOf(id)).size(), cached);
    }
    // Every worker ends by itself soon after its stop; at most the page in progress of each was
    // still written. Then the directory stands still.
    const auto fileCount = [this] { return QDir(m_dir->path()).entryList(QDir::Files).size(); };
    int before = -1;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            const int now = fileCount();
            const bool still = now == before;
            before = now;
            return still;
        }(),
        kRenderTimeoutMs);
    QVERIFY(fileCount() < kRounds * options.pages);
}

QTEST_MAIN(TestPlayText)
#include "tst_playtext.moc"
