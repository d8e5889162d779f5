#include "logcapture.h"
#include "testpictures.h"

#include <ctrlimageplay.h>
#include <effectdisplay.h>
#include <officeplay.h>
#include <spdlogger.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <spdlog/sinks/base_sink.h>

#include <atomic>
#include <mutex>

using namespace testpictures;

namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 90;
// Short page times keep the page-turn tests quick; every wait is a multiple of them.
constexpr int kStayMs = 200;
constexpr int kEffectMs = 100;
constexpr int kTurnTimeoutMs = 10 * (kStayMs + kEffectMs);
// The feeder never waits between pages, so this only bounds a feeder that hangs.
constexpr int kFeederTimeoutMs = 10000;
constexpr int kWidgetDuration = 3000;
// The display control's own time for a static page, which the office player leaves alone.
constexpr int kControlDefaultDuration = 10000;

constexpr int kStressPlayers = 200;
constexpr int kStressPages = 2000;

const QColor kRed { 230, 20, 20 };
const QColor kGreen { 20, 200, 40 };
const QColor kBlue { 30, 40, 220 };

const QPoint kCentre { kWidth / 2, kHeight / 2 };

struct StatusRecorder {
    QList<EnumMediaStatus> received;
    std::function<void(EnumMediaStatus)> callback()
    {
        return [this](EnumMediaStatus status) { received << status; };
    }
};

struct Page {
    QString path;
    int stayTime = kStayMs;
    int effectCode = 0;
    int effectTime = kEffectMs;
};

struct ScrollStyle {
    int moveType = ns::MOVE_LEFT;
    int speed = 3;
    bool speedIsPixels = false;
    bool useGap = false;
    QString gapText {};
};

QString groupJson(const QList<Page>& pages, int type = ns::PAGE_SWITCH, const ScrollStyle& scroll = {})
{
    QJsonArray pictures;
    int number = 0;
    for (const Page& page : pages) {
        ++number;
        pictures.append(QJsonObject { { "pageId", number }, { "path", page.path },
            { "name", QString("page %1").arg(number) }, { "pageNumber", number }, { "stayTime", page.stayTime },
            { "effectCode", page.effectCode }, { "effectTime", page.effectTime } });
    }
    const QJsonObject styleGroup { { "speed", scroll.speed }, { "moveType", scroll.moveType },
        { "gapText", scroll.gapText }, { "useGap", scroll.useGap }, { "speedIsPixels", scroll.speedIsPixels },
        { "type", type } };
    return QString::fromUtf8(
        QJsonDocument(QJsonObject { { "pictures", pictures }, { "styleGroup", styleGroup } }).toJson());
}

ns::Widget officeWidget(const QString& json)
{
    ns::Widget widget;
    widget.id = 7;
    widget.mediaType = 0;
    widget.duration = kWidgetDuration;
    widget.jsonText = json.toStdString();
    return widget;
}

QImage solid(const QColor& colour)
{
    QImage image(kWidth, kHeight, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

QRgb pixelAt(QWidget* widget, const QPoint& at)
{
    return widget->grab().toImage().convertToFormat(QImage::Format_ARGB32).pixel(at);
}

bool shows(QWidget* widget, const QColor& colour)
{
    return near(pixelAt(widget, kCentre), colour);
}

int threadCount()
{
    return int(QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

// Follows the control's trace line for every page it receives, without keeping the lines, and
// notes every page that arrives after its player was deleted. Page paths carry their player's
// number as "/player<n>/".
class LateDeliverySink : public spdlog::sinks::base_sink<std::mutex> {
public:
    void playerDeleted(int player) { m_deletedUpTo = player + 1; }
    int delivered() const { return m_delivered; }
    QStringList late()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return m_late;
    }

protected:
    void sink_it_(const spdlog::details::log_msg& msg) override
    {
        const QString text = QString::fromUtf8(msg.payload.data(), int(msg.payload.size()));
        if (!text.contains("creat image success,"))
            return;
        static const QRegularExpression tag("/player(\\d+)/");
        const QRegularExpressionMatch match = tag.match(text);
        if (!match.hasMatch())
            return;
        ++m_delivered;
        if (match.captured(1).toInt() < m_deletedUpTo)
            m_late << text;
    }
    void flush_() override { }

private:
    std::atomic<int> m_deletedUpTo { 0 };
    std::atomic<int> m_delivered { 0 };
    QStringList m_late;
};

} // namespace

Q_DECLARE_METATYPE(Page)
Q_DECLARE_METATYPE(ScrollStyle)

class TestOfficePlay : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void construction();
    void nothingToShow_data();
    void nothingToShow();
    void statusOnEveryPlay_data();
    void statusOnEveryPlay();
    void pagesReachControlInOrder_data();
    void pagesReachControlInOrder();
    void firstPageShows();
    void scrolledPages_data();
    void scrolledPages();
    void pagesTurn_data();
    void pagesTurn();
    void styleFromGroupAndFirstPage_data();
    void styleFromGroupAndFirstPage();
    void unknownDisplayType();
    void missingPages_data();
    void missingPages();
    void stopLeavesPageOnScreen();
    void pauseHoldsPage();
    void endings_data();
    void endings();
    void secondInitIgnored();
    void noPageAfterDestory_data();
    void noPageAfterDestory();
    void destroyWhileFeeding();

private:
    OfficePlay* startPlayer(const QString& json, StatusRecorder* status = nullptr);
    void waitForFeederEnd(int threadsBefore);

    QTemporaryDir m_dir;
    QString m_red;
    QString m_green;
    QString m_blue;
    QString m_quadrants;
    std::unique_ptr<QWidget> m_parent;
    std::unique_ptr<LogCapture> m_log;
};

void TestOfficePlay::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_red = savePng(solid(kRed), m_dir.path(), "red.png");
    m_green = savePng(solid(kGreen), m_dir.path(), "green.png");
    m_blue = savePng(solid(kBlue), m_dir.path(), "blue.png");
    m_quadrants = savePng(quadrants(kWidth, kHeight), m_dir.path(), "quadrants.png");
    QVERIFY(!m_red.isEmpty() && !m_green.isEmpty() && !m_blue.isEmpty() && !m_quadrants.isEmpty());
}

void TestOfficePlay::init()
{
    m_log = std::make_unique<LogCapture>();
    m_parent = std::make_unique<QWidget>();
    m_parent->resize(kWidth, kHeight);
}

void TestOfficePlay::cleanup()
{
    m_parent.reset();
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

OfficePlay* TestOfficePlay::startPlayer(const QString& json, StatusRecorder* status)
{
    auto* player = new OfficePlay(m_parent.get());
    player->iInit(
        officeWidget(json), status ? status->callback() : [](EnumMediaStatus) {});
    player->iPlay();
    return player;
}

void TestOfficePlay::waitForFeederEnd(int threadsBefore)
{
    QTRY_VERIFY_WITH_TIMEOUT(threadCount() <= threadsBefore, kFeederTimeoutMs);
    // The feeder has posted all it ever will; let those calls run.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

void TestOfficePlay::construction()
{
    auto* player = new OfficePlay(m_parent.get());
    QCOMPARE(player->size(), QSize(kWidth, kHeight));
    QCOMPARE(player->minimumSize(), QSize(kWidth, kHeight));
    QCOMPARE(player->maximumSize(), QSize(kWidth, kHeight));
    QVERIFY(player->windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(player->testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(!player->isHidden());
    QVERIFY(!player->findChild<ImagePlayCtrl*>());

    // Before iInit there is no display: the operations that drive one do nothing.
    player->iPause();
    QCOMPARE(player->iResume(), 0);
    player->iStop();
    player->iDestory();
    QVERIFY(!player->findChild<ImagePlayCtrl*>());
}

void TestOfficePlay::nothingToShow_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<bool>("broken");

    QTest::newRow("empty list") << R"({"pictures": []})" << false;
    QTest::newRow("empty object") << "{}" << false;
    QTest::newRow("style only") << R"({"styleGroup": {"type": 2}})" << false;
    QTest::newRow("cut short") << R"({"pictures": [{"path": )" << true;
    QTest::newRow("list of wrong type") << R"({"pictures": "page.png"})" << true;
    QTest::newRow("path of wrong type") << R"({"pictures": [{"path": 12}]})" << true;
    QTest::newRow("empty text") << "" << true;
}

void TestOfficePlay::nothingToShow()
{
    QFETCH(QString, json);
    QFETCH(bool, broken);

    if (broken)
        m_log->expectError("from_string: exception: ");
    const int threadsBefore = threadCount();
    auto* player = new OfficePlay(m_parent.get());
    QSignalSpy pages(player, &OfficePlay::ImageValueChanged);
    StatusRecorder status;
    QCOMPARE(player->iInit(officeWidget(json), status.callback()), 0);
    QCOMPARE(m_log->count("from_string: exception: "), broken ? 2 : 0);
    QVERIFY(status.received.isEmpty());

    // Status 1 comes from iPlay itself, bad text or not.
    QCOMPARE(player->iPlay(), 0);
    QCOMPARE(status.received, QList<EnumMediaStatus> { MediaReady });

    waitForFeederEnd(threadsBefore);
    QCOMPARE(pages.count(), 0);
    auto* control = player->findChild<ImagePlayCtrl*>();
    QVERIFY(control);
    QVERIFY(control->imageNames().isEmpty());
    QCOMPARE(qAlpha(pixelAt(player, kCentre)), 0);
    QCOMPARE(status.received.size(), 1);
}

void TestOfficePlay::statusOnEveryPlay_data()
{
    QTest::addColumn<int>("plays");
    QTest::newRow("once") << 1;
    QTest::newRow("twice") << 2;
    QTest::newRow("five times") << 5;
}

void TestOfficePlay::statusOnEveryPlay()
{
    QFETCH(int, plays);

    auto* player = new OfficePlay(m_parent.get());
    StatusRecorder status;
    player->iInit(officeWidget(groupJson({ { m_red } })), status.callback());
    for (int i = 1; i <= plays; ++i) {
        QCOMPARE(player->iPlay(), 0);
        // Synchronously, within the call.
        QCOMPARE(status.received.size(), i);
        QCOMPARE(status.received.last(), MediaReady);
    }
    // Nothing else reports: the display's own readiness stays inside the player.
    QTRY_VERIFY_WITH_TIMEOUT(shows(player, kRed), kTurnTimeoutMs);
    QCOMPARE(status.received.size(), plays);
}

void TestOfficePlay::pagesReachControlInOrder_data()
{
    QTest::addColumn<int>("pageCount");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("moveType");

    QTest::newRow("one page, paged") << 1 << int(ns::PAGE_SWITCH) << int(ns::MOVE_LEFT);
    QTest::newRow("two pages, paged") << 2 << int(ns::PAGE_SWITCH) << int(ns::MOVE_LEFT);
    QTest::newRow("many pages, paged") << 40 << int(ns::PAGE_SWITCH) << int(ns::MOVE_LEFT);
    QTest::newRow("one page, static") << 1 << int(ns::STATIC_PAGE) << int(ns::MOVE_LEFT);
    QTest::newRow("many pages, static") << 40 << int(ns::STATIC_PAGE) << int(ns::MOVE_LEFT);
    QTest::newRow("many pages, scrolled left") << 40 << int(ns::SCROLL) << int(ns::MOVE_LEFT);
    QTest::newRow("many pages, scrolled up") << 40 << int(ns::SCROLL) << int(ns::MOVE_UP);
}

void TestOfficePlay::pagesReachControlInOrder()
{
    QFETCH(int, pageCount);
    QFETCH(int, type);
    QFETCH(int, moveType);

    // Distinct names for distinct positions, so that a swap shows.
    QList<Page> pages;
    QStringList names;
    const QStringList colours { m_red, m_green, m_blue };
    for (int i = 0; i < pageCount; ++i) {
        const QString name = m_dir.filePath(QString("order-%1.png").arg(i));
        QFile::remove(name);
        QVERIFY(QFile::copy(colours.at(i % colours.size()), name));
        pages << Page { name };
        names << name;
    }

    auto* player = new OfficePlay(m_parent.get());
    QSignalSpy spy(player, &OfficePlay::ImageValueChanged);
    QList<QThread*> emittingThreads;
    connect(
        player, &OfficePlay::ImageValueChanged, this, [&] { emittingThreads << QThread::currentThread(); },
        Qt::DirectConnection);
    StatusRecorder status;
    player->iInit(officeWidget(groupJson(pages, type, ScrollStyle { moveType })), status.callback());
    player->iPlay();

    QTRY_COMPARE_WITH_TIMEOUT(spy.count(), pageCount, kFeederTimeoutMs);
    for (int i = 0; i < pageCount; ++i) {
        QCOMPARE(spy.at(i).at(0).toString(), names.at(i));
        QCOMPARE(spy.at(i).at(1).toBool(), i == pageCount - 1);
    }
    // Emitted on the GUI thread, where the control lives and where nothing races its teardown.
    for (QThread* thread : emittingThreads)
        QCOMPARE(thread, qApp->thread());
    auto* control = player->findChild<ImagePlayCtrl*>();
    QVERIFY(control);
    QCOMPARE(control->imageNames(), names);
    // The files belong to the host and survive the player.
    delete player;
    for (const QString& name : names)
        QVERIFY2(QFile::exists(name), qPrintable(name));
}

void TestOfficePlay::firstPageShows()
{
    auto* player = startPlayer(groupJson({ { m_quadrants } }));
    const int inset = 10;
    const QList<QPair<QPoint, QColor>> samples {
        { { inset, inset }, kTopLeft },
        { { kWidth - inset, inset }, kTopRight },
        { { inset, kHeight - inset }, kBottomLeft },
        { { kWidth - inset, kHeight - inset }, kBottomRight },
    };
    QTRY_VERIFY_WITH_TIMEOUT(near(pixelAt(player, samples.first().first), samples.first().second), kTurnTimeoutMs);
    // The page fills the player, the right way round.
    const QImage frame = player->grab().toImage().convertToFormat(QImage::Format_ARGB32);
    for (const auto& sample : samples) {
        QVERIFY2(near(frame.pixel(sample.first), sample.second),
            qPrintable(QString("at %1,%2: %3")
                           .arg(sample.first.x())
                           .arg(sample.first.y())
                           .arg(QColor(frame.pixel(sample.first)).name(QColor::HexArgb))));
    }
}

void TestOfficePlay::scrolledPages_data()
{
    QTest::addColumn<ScrollStyle>("style");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("gap");

    // Fast levels and rates, so that a whole round passes in a second or two.
    QTest::newRow("left, level 10") << ScrollStyle { ns::MOVE_LEFT, 10 } << 4 << 2 << kWidth;
    QTest::newRow("left, 500 px/s, gap") << ScrollStyle { ns::MOVE_LEFT, 500, true, true, "25" } << 2 << 1 << 25;
    QTest::newRow("right, level 9") << ScrollStyle { ns::MOVE_RIGHT, 9 } << 5 << 2 << kWidth;
    QTest::newRow("up, level 10") << ScrollStyle { ns::MOVE_UP, 10 } << 4 << 2 << kHeight;
    QTest::newRow("down, level 8, gap") << ScrollStyle { ns::MOVE_DOWN, 8, false, true, "40" } << 6 << 2 << 40;
}

void TestOfficePlay::scrolledPages()
{
    QFETCH(ScrollStyle, style);
    QFETCH(int, interval);
    QFETCH(int, step);
    QFETCH(int, gap);

    const QList<Page> pages { { m_red }, { m_green }, { m_blue } };
    auto* player = startPlayer(groupJson(pages, ns::SCROLL, style));
    auto* control = player->findChild<ImagePlayCtrl*>();
    QVERIFY(control);
    QTRY_COMPARE_WITH_TIMEOUT(control->labels().size(), 3, kFeederTimeoutMs);
    // The scroll settings of the group reach the belt.
    QCOMPARE(control->speed(), interval);
    QCOMPARE(control->pix(), step);
    QCOMPARE(control->gap(), gap);

    // The belt moves the way the group says.
    const bool horizontal = style.moveType == ns::MOVE_LEFT || style.moveType == ns::MOVE_RIGHT;
    const int sign = style.moveType == ns::MOVE_LEFT || style.moveType == ns::MOVE_UP ? -1 : 1;
    QLabel* first = control->labels().first();
    const auto along = [&] { return horizontal ? first->x() : first->y(); };
    const int start = along();
    const int tickTimeoutMs = 20 * interval + 1000;
    QTRY_VERIFY_WITH_TIMEOUT(along() != start, tickTimeoutMs);
    QVERIFY2((along() - start) * sign > 0, qPrintable(QString("from %1 to %2").arg(start).arg(along())));

    // Within a round or so, every page, scaled to the region, crosses its middle.
    const int window = horizontal ? kWidth : kHeight;
    const int roundMs = (pages.size() * window + gap + window) / step * interval;
    const QList<QColor> colours { kRed, kGreen, kBlue };
    QList<QColor> seen;
    const bool allSeen = QTest::qWaitFor(
        [&] {
            const QRgb pixel = pixelAt(player, kCentre);
            for (const QColor& colour : colours) {
                if (near(pixel, colour) && !seen.contains(colour))
                    seen << colour;
            }
            return seen.size() == colours.size();
        },
        4 * roundMs);
    QVERIFY2(allSeen, qPrintable(QString("%1 of %2 pages seen").arg(seen.size()).arg(colours.size())));
}

void TestOfficePlay::pagesTurn_data()
{
    QTest::addColumn<int>("effectCode");
    QTest::addColumn<int>("effectTime");
    QTest::addColumn<int>("controlEffectTime");

    QTest::newRow("no effect") << 0 << kEffectMs << 0;
    QTest::newRow("move in") << 32 << kEffectMs << kEffectMs;
    QTest::newRow("fade in") << 176 << kEffectMs << kEffectMs;
}

void TestOfficePlay::pagesTurn()
{
    QFETCH(int, effectCode);
    QFETCH(int, effectTime);
    QFETCH(int, controlEffectTime);

    const QList<Page> pages { { m_red, kStayMs, effectCode, effectTime }, { m_green, kStayMs, effectCode, effectTime },
        { m_blue, kStayMs, effectCode, effectTime } };
    auto* player = startPlayer(groupJson(pages));
    auto* control = player->findChild<ImagePlayCtrl*>();
    QVERIFY(control);

    QTRY_VERIFY_WITH_TIMEOUT(shows(player, kRed), kTurnTimeoutMs);
    QCOMPARE(control->speed(), kStayMs);
    QCOMPARE(control->effectTime(), controlEffectTime);
    QVERIFY(control->effectDisplay());
    QCOMPARE(control->effectDisplay()->currentEffect(), effectCode);
    QTRY_VERIFY_WITH_TIMEOUT(shows(player, kGreen), kTurnTimeoutMs);
    QTRY_VERIFY_WITH_TIMEOUT(shows(player, kBlue), kTurnTimeoutMs);
    // And round again.
    QTRY_VERIFY_WITH_TIMEOUT(shows(player, kRed), kTurnTimeoutMs);
}

void TestOfficePlay::styleFromGroupAndFirstPage_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<Page>("first");
    QTest::addColumn<int>("speed");
    QTest::addColumn<int>("effectTime");
    QTest::addColumn<int>("effect");

    const int stay = 700;
    QTest::newRow("paged with effect") << int(ns::PAGE_SWITCH) << Page { m_red, stay, 32, 600 } << stay << 600 << 32;
    QTest::newRow("paged, no effect") << int(ns::PAGE_SWITCH) << Page { m_red, stay, 0, 600 } << stay << 0 << 0;
    QTest::newRow("paged, fade") << int(ns::PAGE_SWITCH) << Page { m_red, 1500, 176, 250 } << 1500 << 250 << 176;
    // A static page takes the control's own time; the item's duration is not handed on.
    QTest::newRow("static") << int(ns::STATIC_PAGE) << Page { m_red, stay, 32, 600 } << kControlDefaultDuration << 0
                            << 0;
}

void TestOfficePlay::styleFromGroupAndFirstPage()
{
    QFETCH(int, type);
    QFETCH(Page, first);
    QFETCH(int, speed);
    QFETCH(int, effectTime);
    QFETCH(int, effect);

    // Only the first page's numbers count; the later ones must not leak into the style.
    const QList<Page> pages { first, { m_green, 111, 16, 222 }, { m_blue, 333, 48, 444 } };
    auto* player = startPlayer(groupJson(pages, type));
    auto* control = player->findChild<ImagePlayCtrl*>();
    QVERIFY(control);
    QTRY_COMPARE_WITH_TIMEOUT(control->imageNames().size(), pages.size(), kFeederTimeoutMs);
    QCOMPARE(control->speed(), speed);
    QCOMPARE(control->effectTime(), effectTime);
    QVERIFY(control->effectDisplay());
    QCOMPARE(control->effectDisplay()->currentEffect(), effect);
    QVERIFY(control->labels().isEmpty());
    QVERIFY(!control->findChild<QLabel*>());
}

void TestOfficePlay::unknownDisplayType()
{
    const QList<Page> pages { { m_red }, { m_green } };
    auto* player = startPlayer(groupJson(pages, 7));
    auto* control = player->findChild<ImagePlayCtrl*>();
    QVERIFY(control);
    QTRY_COMPARE_WITH_TIMEOUT(control->imageNames().size(), pages.size(), kFeederTimeoutMs);
    // The control has nothing to show with: each page is logged and nothing appears.
    QCOMPARE(m_log->count("displayStyle.type is null"), pages.size());
    QVERIFY(!control->effectDisplay());
    QVERIFY(!control->findChild<QLabel*>());
    QCOMPARE(qAlpha(pixelAt(player, kCentre)), 0);
}

void TestOfficePlay::missingPages_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QStringList>("kept");
    QTest::addColumn<QString>("shown");

    QTest::newRow("missing in the middle")
        << QStringList { "red", "missing", "green" } << QStringList { "red", "green" } << "red";
    QTest::newRow("missing first") << QStringList { "missing", "green", "blue" } << QStringList { "green", "blue" }
                                   << "green";
    QTest::newRow("missing last") << QStringList { "red", "missing" } << QStringList { "red" } << "red";
    QTest::newRow("all missing") << QStringList { "missing", "missing" } << QStringList {} << "";
}

void TestOfficePlay::missingPages()
{
    QFETCH(QStringList, list);
    QFETCH(QStringList, kept);
    QFETCH(QString, shown);

    const QHash<QString, QString> files { { "red", m_red }, { "green", m_green }, { "blue", m_blue },
        { "missing", m_dir.filePath("no-such-page.png") } };
    const QHash<QString, QColor> colours { { "red", kRed }, { "green", kGreen }, { "blue", kBlue } };
    QList<Page> pages;
    for (const QString& key : list)
        pages << Page { files.value(key) };
    QStringList keptFiles;
    for (const QString& key : kept)
        keptFiles << files.value(key);

    auto* player = startPlayer(groupJson(pages));
    auto* control = player->findChild<ImagePlayCtrl*>();
    QVERIFY(control);
    QSignalSpy spy(player, &OfficePlay::ImageValueChanged);
    QTRY_COMPARE_WITH_TIMEOUT(spy.count(), pages.size(), kFeederTimeoutMs);
    QCOMPARE(control->imageNames(), keptFiles);
    if (shown.isEmpty()) {
        QCOMPARE(qAlpha(pixelAt(player, kCentre)), 0);
    } else {
        QTRY_VERIFY_WITH_TIMEOUT(shows(player, colours.value(shown)), kTurnTimeoutMs);
    }
}

void TestOfficePlay::stopLeavesPageOnScreen()
{
    auto* player = startPlayer(groupJson({ { m_red } }));
    QTRY_VERIFY_WITH_TIMEOUT(shows(player, kRed), kTurnTimeoutMs);

    player->iStop();
    QVERIFY(shows(player, kRed));
    // Two page periods later, with a few re-shows of the page behind it, it is still there.
    QVERIFY(!QTest::qWaitFor([&] { return !shows(player, kRed); }, 2 * kStayMs));
    QVERIFY(player->findChild<ImagePlayCtrl*>());

    // Only iDestory takes the page away.
    player->iDestory();
    QVERIFY(!player->findChild<ImagePlayCtrl*>());
    QCOMPARE(qAlpha(pixelAt(player, kCentre)), 0);
}

void TestOfficePlay::pauseHoldsPage()
{
    auto* player = startPlayer(groupJson({ { m_red }, { m_green } }));
    QTRY_VERIFY_WITH_TIMEOUT(shows(player, kRed), kTurnTimeoutMs);

    player->iPause();
    QVERIFY2(!QTest::qWaitFor([&] { return shows(player, kGreen); }, 3 * kStayMs), "the page turned while paused");
    QCOMPARE(player->iResume(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(shows(player, kGreen), kTurnTimeoutMs);
}

void TestOfficePlay::endings_data()
{
    QTest::addColumn<int>("destoryCalls");
    QTest::addColumn<bool>("waitForPages");

    QTest::newRow("delete only, pages shown") << 0 << true;
    QTest::newRow("iDestory, then delete") << 1 << true;
    QTest::newRow("iDestory twice, then delete") << 2 << true;
    QTest::newRow("delete only, while feeding") << 0 << false;
    QTest::newRow("iDestory while feeding, then delete") << 1 << false;
}

void TestOfficePlay::endings()
{
    QFETCH(int, destoryCalls);
    QFETCH(bool, waitForPages);

    QList<Page> pages;
    for (int i = 0; i < 200; ++i)
        pages << Page { i % 2 ? m_green : m_red };
    auto* player = startPlayer(groupJson(pages));
    QPointer<ImagePlayCtrl> control = player->findChild<ImagePlayCtrl*>();
    QVERIFY(control);
    if (waitForPages)
        QTRY_COMPARE_WITH_TIMEOUT(control->imageNames().size(), pages.size(), kFeederTimeoutMs);

    for (int i = 0; i < destoryCalls; ++i) {
        player->iDestory();
        QVERIFY(control.isNull());
    }
    QPointer<OfficePlay> guard = player;
    delete player;
    QVERIFY(guard.isNull());
    QVERIFY(m_parent->children().isEmpty());

    QCOMPARE(m_log->count("OfficePlay::iDestory begin"), destoryCalls + 1);
    QCOMPARE(m_log->count("OfficePlay iDestory end"), destoryCalls + 1);
    QCOMPARE(m_log->count("OfficePlay ~OfficePlay begin"), 1);
    QCOMPARE(m_log->count("OfficePlay ~OfficePlay end"), 1);
    // The destructor's own iDestory sits between its two lines.
    const QStringList lines = m_log->lines();
    const auto indexOf = [&](const QString& needle, int from) {
        for (int i = from; i < lines.size(); ++i) {
            if (lines.at(i).contains(needle))
                return i;
        }
        return -1;
    };
    const int begin = indexOf("OfficePlay ~OfficePlay begin", 0);
    QVERIFY(begin >= 0);
    const int destoryBegin = indexOf("OfficePlay::iDestory begin", begin);
    const int destoryEnd = indexOf("OfficePlay iDestory end", destoryBegin);
    const int end = indexOf("OfficePlay ~OfficePlay end", destoryEnd);
    QVERIFY(begin < destoryBegin && destoryBegin < destoryEnd && destoryEnd < end);
}

void TestOfficePlay::secondInitIgnored()
{
    StatusRecorder status;
    auto* player = startPlayer(groupJson({ { m_red } }), &status);
    QTRY_VERIFY_WITH_TIMEOUT(shows(player, kRed), kTurnTimeoutMs);

    player->iInit(officeWidget(groupJson({ { m_green } })), status.callback());
    QCOMPARE(player->findChildren<ImagePlayCtrl*>().size(), 1);
    QVERIFY(!QTest::qWaitFor([&] { return !shows(player, kRed); }, 2 * kStayMs));
    QCOMPARE(player->findChild<ImagePlayCtrl*>()->imageNames(), QStringList { m_red });
}

void TestOfficePlay::noPageAfterDestory_data()
{
    QTest::addColumn<bool>("allQueued");
    QTest::newRow("while the feeder runs") << false;
    QTest::newRow("after the feeder posted every page") << true;
}

void TestOfficePlay::noPageAfterDestory()
{
    QFETCH(bool, allQueued);

    QList<Page> pages;
    for (int i = 0; i < kStressPages; ++i)
        pages << Page { m_red };
    const int threadsBefore = threadCount();
    auto* player = startPlayer(groupJson(pages));
    QSignalSpy spy(player, &OfficePlay::ImageValueChanged);
    if (allQueued) {
        // Wait without running events, so that every page the feeder posted is still queued.
        QDeadlineTimer deadline(kFeederTimeoutMs);
        while (threadCount() > threadsBefore && !deadline.hasExpired())
            QThread::yieldCurrentThread();
        QVERIFY(threadCount() <= threadsBefore);
    }
    // No event has run yet: whatever the feeder posted must be dropped, the player still stands.
    player->iDestory();
    waitForFeederEnd(threadsBefore);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(m_log->count("creat image success"), 0);
}

void TestOfficePlay::destroyWhileFeeding()
{
    auto sink = std::make_shared<LateDeliverySink>();
    SpdLogger::addSink(sink);

    // One player through first, so that threads Qt starts on first use are not counted as feeders.
    {
        auto* warmUp = startPlayer(groupJson({ { m_red } }));
        QTRY_VERIFY_WITH_TIMEOUT(shows(warmUp, kRed), kTurnTimeoutMs);
        delete warmUp;
    }
    const int threadsBefore = threadCount();

    // Every player's pages lie in a directory of its own, named by its number. The first page
    // exists, so the display plays while it is torn down; the rest are missing, which costs the
    // control no decoding.
    const QString numberMark = "@PLAYER@";
    QList<Page> pages;
    for (int i = 0; i < kStressPages; ++i)
        pages << Page { m_dir.filePath(QString("player%1/page%2.png").arg(numberMark).arg(i)), kStayMs / 4, 176,
            kEffectMs / 4 };
    const QString json = groupJson(pages);

    for (int n = 0; n < kStressPlayers; ++n) {
        const QString number = QString::number(n);
        QVERIFY(QDir(m_dir.path()).mkpath("player" + number));
        QVERIFY(QFile::copy(m_red, QString(pages.first().path).replace(numberMark, number)));

        auto* player = startPlayer(QString(json).replace(numberMark, number));
        switch (n % 4) {
        case 0:
            // Before any posted page has run.
            delete player;
            break;
        case 1: {
            // From inside the delivery of the first page, with the rest still queued behind it.
            QSignalSpy spy(player, &OfficePlay::ImageValueChanged);
            connect(player, &OfficePlay::ImageValueChanged, player, [player] { player->iDestory(); });
            QVERIFY(spy.wait(kFeederTimeoutMs));
            delete player;
            break;
        }
        case 2:
            // iDestory first, the object a little later.
            player->iDestory();
            QCoreApplication::processEvents();
            delete player;
            break;
        default:
            // With its parent, as a host that drops a whole layout does, once some pages have come.
            QCoreApplication::processEvents();
            m_parent = std::make_unique<QWidget>();
            m_parent->resize(kWidth, kHeight);
            break;
        }
        sink->playerDeleted(n);
        QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
        m_log->clear();
    }

    waitForFeederEnd(threadsBefore);
    SpdLogger::removeSink(sink);
    QVERIFY2(sink->late().isEmpty(), qPrintable(sink->late().mid(0, 5).join('\n')));
    // The check above only means something if pages did reach live players.
    QVERIFY(sink->delivered() > 0);
}

QTEST_MAIN(TestOfficePlay)
#include "tst_officeplay.moc"
