// The office player: page pictures read from the record and fed, in order, to a display control
// that pages or scrolls them; its status; and its lifetime while the detached feeder still posts.
// Page files are half the region's size, so that a page shown fills the region only if scaled.
#include "logcapture.h"
#include "testpictures.h"

#include <ctrlimageplay.h>
#include <effectdisplay.h>
#include <officeplay.h>

#include <QLabel>
#include <QtTest>

namespace {

constexpr int kStayMs = 100;
constexpr int kTimeoutMs = 10000;
const QList<QColor> kColours { { 230, 20, 20 }, { 20, 200, 40 }, { 30, 40, 220 } };

// Pages with the first one's stay, effect and effect time; the later ones' differ.
QString groupJson(const QStringList& paths, int type, QList<int> first)
{
    QJsonArray pictures;
    for (const QString& path : paths) {
        pictures.append(QJsonObject { { "path", path }, { "stayTime", first.value(0, kStayMs) },
            { "effectCode", first.value(1) }, { "effectTime", first.value(2, 50) } });
        first = { 111, 16, 222 };
    }
    const QJsonObject style { { "type", type } };
    return QJsonDocument(QJsonObject { { "pictures", pictures }, { "styleGroup", style } }).toJson();
}

} // namespace

class TestOfficePlay : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        for (const QColor& colour : kColours) {
            QImage page(80, 45, QImage::Format_ARGB32);
            page.fill(colour);
            m_pages << testpictures::savePng(page, m_dir.path(), colour.name() + ".png");
        }
    }
    void init()
    {
        m_parent = std::make_unique<QWidget>();
        m_parent->resize(160, 90);
    }
    void pages_data();
    void pages();
    void destroyWhileFeeding();

private:
    OfficePlay* startPlayer(const QString& json, QList<EnumMediaStatus>* status = nullptr)
    {
        auto* player = new OfficePlay(m_parent.get());
        ns::Widget widget;
        widget.jsonText = json.toStdString();
        player->iInit(widget, [status](EnumMediaStatus s) { status ? status->append(s) : void(); });
        return player;
    }

    QTemporaryDir m_dir;
    QStringList m_pages; // red, green, blue
    std::unique_ptr<QWidget> m_parent;
};

void TestOfficePlay::pages_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("type");
    QTest::addColumn<QList<int>>("missing");
    QTest::addColumn<QList<int>>("first");
    QTest::addColumn<QList<int>>("style"); // speed, effect time, effect

    using I = QList<int>;
    const int paged = ns::PAGE_SWITCH, still = ns::STATIC_PAGE;
    QTest::newRow("one page, paged") << 1 << paged << I {} << I { 700, 32, 600 } << I { 700, 600, 32 };
    // A static page takes the control's own time; the item's duration is not handed on.
    QTest::newRow("40 pages, static") << 40 << still << I {} << I { 700, 32, 600 } << I { 10000, 0, 0 };
    QTest::newRow("missing first and last") << 4 << paged << I { 0, 3 } << I {} << I { kStayMs, 0, 0 };
    QTest::newRow("all missing") << 2 << still << I { 0, 1 } << I {} << I {};
}

// Every page reaches the control in list order, on the GUI thread, the last one marked; missing
// files are left out, the first page there is shows, and the style comes from the record. Status 1
// comes from iPlay alone, at once, on every call. Pages hold while paused; a stop leaves them, only
// iDestory takes them away, and the files stay the host's.
void TestOfficePlay::pages()
{
    QFETCH(int, count);
    QFETCH(int, type);
    QFETCH(QList<int>, missing);
    QStringList paths;
    QStringList kept;
    for (int i = 0; i < count; ++i) {
        paths << m_dir.filePath(QStringLiteral("%1-%2.png").arg(qHash(QByteArray(QTest::currentDataTag()))).arg(i));
        if (!missing.contains(i) && QFile::copy(m_pages[i % 3], paths.last()))
            kept << paths.last();
    }
    QList<EnumMediaStatus> status;
    QFETCH(QList<int>, first);
    auto* player = startPlayer(groupJson(paths, type, first), &status);
    QList<QPair<QString, bool>> received;
    connect(player, &OfficePlay::ImageValueChanged, this, [&](const QString& name, bool isLast) {
        QCOMPARE(QThread::currentThread(), qApp->thread());
        received << qMakePair(name, isLast);
    });
    QTRY_COMPARE_WITH_TIMEOUT(received.size(), count, kTimeoutMs);
    for (int i = 0; i < count; ++i)
        QCOMPARE(received[i], qMakePair(paths[i], i == count - 1));
    auto* control = player->findChild<ImagePlayCtrl*>();
    QCOMPARE(control->imageNames(), kept);
    const auto centre
        = [player] { return player->grab().toImage().convertToFormat(QImage::Format_ARGB32).pixel(80, 45); };
    const auto shows = [&](int page) { return testpictures::near(centre(), kColours[paths.indexOf(kept[page]) % 3]); };
    if (!kept.isEmpty()) {
        EffectDisplay* display = control->effectDisplay();
        QTEST(QList<int>({ control->speed(), control->effectTime(), display->currentEffect() }), "style");
        QCOMPARE(display->geometry(), QRect(QPoint(0, 0), m_parent->size()));
        QTRY_VERIFY_WITH_TIMEOUT(shows(0), kTimeoutMs);
    }
    if (type == ns::PAGE_SWITCH && kept.size() > 1) {
        player->iPause();
        QVERIFY2(!QTest::qWaitFor([&] { return !shows(0); }, 3 * kStayMs), "turned while paused");
        QCOMPARE(player->iResume(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(shows(1), kTimeoutMs);
    }
    QVERIFY(status.isEmpty());
    QCOMPARE(player->iPlay(), 0);
    QCOMPARE(player->iPlay(), 0);
    QCOMPARE(status, (QList<EnumMediaStatus> { MediaReady, MediaReady }));
    player->iStop();
    QVERIFY(player->findChild<ImagePlayCtrl*>());
    player->iDestory();
    QVERIFY(!player->findChild<ImagePlayCtrl*>() && qAlpha(centre()) == 0);
    delete player;
    for (const QString& name : kept)
        QVERIFY2(QFile::exists(name), qPrintable(name));
}

// Players are ended in every way a host may end them while their feeders post; no page may reach
// a player after its end. Each player's pages lie in a directory of its own: the first exists, so
// the display plays while it goes, the rest are missing, which costs the control no decoding.
void TestOfficePlay::destroyWhileFeeding()
{
    LogCapture log;
    QStringList pages;
    for (int i = 0; i < 500; ++i)
        pages << m_dir.filePath(QStringLiteral("player@/page%1.png").arg(i));
    const QString json = groupJson(pages, ns::PAGE_SWITCH, { kStayMs / 4, 176, 10 });
    int delivered = 0;
    for (int n = 0; n < 100; ++n) {
        const QString dir = QStringLiteral("player%1").arg(n);
        QVERIFY(QDir(m_dir.path()).mkpath(dir) && QFile::copy(m_pages[0], m_dir.filePath(dir + "/page0.png")));
        auto* player = startPlayer(QString(json).replace("player@", dir));
        if (n % 4 == 1) { // from inside the delivery of the first page, the rest still queued behind it
            QSignalSpy delivery(player, &OfficePlay::ImageValueChanged);
            connect(player, &OfficePlay::ImageValueChanged, player, [player] { player->iDestory(); });
            QVERIFY(delivery.wait(kTimeoutMs));
        } else if (n % 4 == 2) {
            player->iDestory();
            player->iDestory();
        }
        if (n % 4 > 1)
            QCoreApplication::processEvents();
        // The last way: with its parent, as a host that drops a whole layout does.
        n % 4 == 3 ? init() : delete player;
        delivered += log.count("creat image success");
        log.clear();
        QCoreApplication::processEvents();
        QCOMPARE(log.count(dir + "/"), 0);
    }
    QVERIFY2(log.unexpectedErrors().isEmpty(), qPrintable(log.unexpectedErrors().join('\n')));
    // The check above only means something if pages did reach live players.
    QVERIFY(delivered > 0);
}

QTEST_MAIN(TestOfficePlay)
#include "tst_officeplay.moc"
