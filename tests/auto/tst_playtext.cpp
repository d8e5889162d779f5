// The text player end to end: a widget description goes in, status 1 comes back and pages turn
// on the screen; a second play of the same task replays the cached files. Page counts and sizes
// come from QFontMetrics of the installed fonts.
#include "textsupport.h"

#include <ctrlimageplay.h>
#include <imageplayhelper.h>
#include <playtext.h>

#include <QPointer>
#include <QtTest>

#include <optional>

namespace {

constexpr QSize kRegion { 320, 120 };
const QColor kRunBackground { 255, 0, 0 }; // behind every run
const QColor kRegionBackground { 0, 0, 128 }; // the first paragraph's colour
// Long enough for any render of these small texts on a loaded machine.
constexpr int kRenderTimeoutMs = 20000;

// The JSON text of a text item with `pages` full pages of short lines: a line ending at the
// bottom edge of kRegion opens a new page.
std::string textRecord(int type, int pages)
{
    QFont font("DejaVu Sans");
    font.setPixelSize(20);
    QStringList lines;
    while (
        lines.size() < pages * ((kRegion.height() - 1) / (QFontMetrics(font).ascent() + QFontMetrics(font).descent())))
        lines << QString(R"([{"attributeId":1,"text":"Line %1"}])").arg(lines.size());
    return QString(R"({"content":{"displayStyle":{"type":%1},"textAttributes":[{"id":1,"style":{"bkColor":"%2",)"
                   R"("fontFamilies":["DejaVu Sans"],"pixelSize":20}}],"paragraphs":[{"vAlignment":0,"hAlignment":0,)"
                   R"("bkColor":"%3","lines":[%4]}]}})")
        .arg(type)
        .arg(kRunBackground.name(), kRegionBackground.name(), lines.join(','))
        .toStdString();
}

QStringList cachedNames(int id)
{
    return ImagePlayHelper::getInstance().getImageName(QStringLiteral("LUMORAX%1").arg(id));
}

// One host region with its player, as a host lays them out, playing item `id`.
struct Region {
    QWidget parent;
    QPointer<playtext> player;
    QList<EnumMediaStatus> statuses;

    Region(int id, const std::string& json)
    {
        parent.resize(kRegion);
        player = new playtext(&parent);
        ns::Widget widget;
        widget.id = id;
        widget.duration = 10000;
        widget.jsonText = json;
        player->iInit(widget, [this](EnumMediaStatus status) { statuses.append(status); });
        player->iPlay();
    }
    ImagePlayCtrl* control() const { return player ? player->findChild<ImagePlayCtrl*>() : nullptr; }
};

} // namespace

class TestPlayText : public QObject {
    Q_OBJECT
    std::optional<CacheScope> m_cache;
    int m_nextId = 100;
private slots:
    void init() { m_cache.emplace(); }
    void cleanup()
    {
        QVERIFY2(m_cache->log.unexpectedErrors().isEmpty(), qPrintable(m_cache->log.unexpectedErrors().join('\n')));
    }

    void firstPlayRendersThenReplays_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("pages");
        QTest::newRow("paged, one page") << int(ns::PAGE_SWITCH) << 1;
        QTest::newRow("paged, three pages") << int(ns::PAGE_SWITCH) << 3;
        QTest::newRow("static, two pages") << int(ns::STATIC_PAGE) << 2;
    }

    void firstPlayRendersThenReplays()
    {
        QFETCH(int, type);
        QFETCH(int, pages);
        const int id = ++m_nextId;
        std::optional<Region> region(std::in_place, id, textRecord(type, pages));
        region->parent.show();
        // The render runs on a worker: iInit returns before any file is there.
        QVERIFY(region->statuses.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(region->statuses, QList<EnumMediaStatus> { MediaReady }, kRenderTimeoutMs);
        QTRY_COMPARE_WITH_TIMEOUT(region->control()->imageNames().size(), pages, kRenderTimeoutMs);
        const QStringList rendered = region->control()->imageNames();
        QCOMPARE(cachedNames(id), rendered);
        // The region shows its colour around the first page.
        QTRY_COMPARE_WITH_TIMEOUT(
            region->player->grab().toImage().pixelColor(kRegion.width() - 5, 5), kRegionBackground, kRenderTimeoutMs);
        QCOMPARE(region->player->grab().toImage().pixelColor(1, 1), kRunBackground);

        // The next play of the task makes no thread: every name is with the control, in order,
        // when iInit returns, and ready has been reported inside it.
        region.emplace(id, textRecord(type, pages));
        QCOMPARE(region->control()->imageNames(), rendered);
        QCOMPARE(region->statuses, QList<EnumMediaStatus> { MediaReady });
        QCOMPARE(m_cache->fileCount(), pages);
        // Without its last file the replay reports ready for the first page shown and again for
        // the missing file, and the task's cache is dropped; so the next play renders anew.
        QVERIFY(QFile::remove(rendered.last()));
        region.emplace(id, textRecord(type, pages));
        QCOMPARE(region->statuses.size(), pages > 1 ? 2 : 1); // MediaReady, the only status, for each
        QCOMPARE(region->control()->imageNames(), rendered.mid(0, pages - 1));
        QVERIFY(cachedNames(id).isEmpty());
        region.emplace(id, textRecord(type, pages));
        QVERIFY(region->statuses.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(cachedNames(id).size(), pages, kRenderTimeoutMs);
    }

    void emptyTextReportsAtOnce_data()
    {
        QTest::addColumn<QString>("json");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QColor>("background"); // all that shows: the first paragraph's colour
        const QColor none = Qt::transparent;
        QTest::newRow("no paragraphs") << R"({"content":{"paragraphs":[]}})"
                                       << "paragraphs is empty" << none;
        QTest::newRow("no lines") << R"({"content":{"paragraphs":[{"bkColor":"#000080","lines":[]}]}})"
                                  << "empty arch_text" << kRegionBackground;
        QTest::newRow("broken JSON") << R"({"content":{"paragraphs":[)"
                                     << "is no rich text record" << none;
    }

    void emptyTextReportsAtOnce()
    {
        QFETCH(QString, json);
        QFETCH(QString, error);
        QFETCH(QColor, background);
        m_cache->log.expectError(error);
        m_cache->log.expectError("paragraphs is empty");
        Region region(++m_nextId, json.toStdString());
        QCOMPARE(region.statuses, QList<EnumMediaStatus> { MediaReady });
        QCOMPARE(m_cache->log.count(error), 1);
        QVERIFY(!region.control());
        QCOMPARE(region.player->palette().color(QPalette::Window), background);
    }

    void destroyWhileRendering_data()
    {
        QTest::addColumn<bool>("destroyFirst"); // iDestory, twice, before the destructor, or the destructor alone
        QTest::addColumn<int>("spinBeforeDestroy"); // event loop turns between play and destroy
        QTest::newRow("iDestory at once") << true << 0;
        QTest::newRow("destructor at once") << false << 0;
        QTest::newRow("iDestory after some pages") << true << 20;
        QTest::newRow("destructor after some pages") << false << 20;
    }

    void destroyWhileRendering()
    {
        QFETCH(bool, destroyFirst);
        QFETCH(int, spinBeforeDestroy);
        // Long texts destroyed while their workers render and their pages are queued: nothing may
        // crash, nothing may reach the gone player, and no file may appear once a worker has stopped.
        const std::string json = textRecord(ns::PAGE_SWITCH, 40);
        constexpr int kRounds = 25;
        for (int round = 0; round < kRounds; ++round) {
            const int id = ++m_nextId;
            std::optional<Region> region(std::in_place, id, json);
            for (int i = 0; i < spinBeforeDestroy; ++i)
                QCoreApplication::processEvents();
            for (int i = 0; i < (destroyFirst ? 2 : 0); ++i)
                region->player->iDestory();
            QVERIFY(!destroyFirst || !region->control());
            region.reset();
            const int cached = cachedNames(id).size();
            QCoreApplication::processEvents();
            // Pages queued before the stop are dropped with the player.
            QCOMPARE(cachedNames(id).size(), cached);
        }
        // Every worker ends by itself soon after its stop; at most the page in progress of each was
        // still written. Then the directory stands still.
        int before = -1;
        QTRY_VERIFY_WITH_TIMEOUT(std::exchange(before, m_cache->fileCount()) == m_cache->fileCount(), kRenderTimeoutMs);
        QVERIFY(m_cache->fileCount() < kRounds * 40);
    }
};

QTEST_MAIN(TestPlayText)
#include "tst_playtext.moc"
