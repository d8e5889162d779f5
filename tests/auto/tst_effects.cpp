// Frame-exact checks of the transitions of the random pool. The picture is the coordinate
// picture at exactly the fitted size (widget size - 1), so loading leaves it unscaled and
// every painted pixel names the picture pixel it shows. Expected rows and columns are worked
// out by hand from the effect formulas for the size of each row; the comments give the steps.
// Polygons fill the pixels whose centres lie inside, a centre on a top or left edge excluded
// and one on a bottom or right edge included; stretched draws sample the nearest pixel.
#include "framecheck.h"
#include "logcapture.h"

#include <effectdisplay.h>

#include <QHash>
#include <QPainter>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace framecheck;

namespace {

constexpr int kAlphaTolerance = 2;
// Most rows use a 201 x 101 widget: pw = 200, ph = 100, pw / 2 = 100, ph / 2 = 50.
const QSize kWide(201, 101);
const QRect kWhole(0, 0, 200, 100);

// A frame pixel and the picture pixel expected there; a negative source checks only the alpha.
struct Probe {
    QPoint at;
    QPoint source { -1, -1 };
    int alpha = 255;
    int tolerance = 0;
};
using Probes = QVector<Probe>;

Probe shows(QPoint at, QPoint source, int tolerance = 0)
{
    return { at, source, 255, tolerance };
}
Probe empty(QPoint at)
{
    return { at, { -1, -1 }, 0, 0 };
}
Probe faded(QPoint at, int alpha)
{
    return { at, { -1, -1 }, alpha, 0 };
}

// What a row checks beyond its probes.
enum Check {
    Exact = 1, // the painted pixels are exactly the region; otherwise only its bounding box
    Identity = 2, // every painted pixel inside the picture shows the picture pixel at its place
};

// A display on a parent of `size`: the display takes the parent's size when it is built.
struct Rig {
    explicit Rig(QSize size)
        : parent(std::make_unique<QWidget>())
    {
        parent->resize(size);
        display = new EffectDisplay(parent.get());
    }
    std::unique_ptr<QWidget> parent;
    EffectDisplay* display = nullptr;
};

QRegion region(std::initializer_list<QRect> rects)
{
    QRegion result;
    for (const QRect& r : rects)
        result += r;
    return result;
}

// `count` bands of `thickness` every `step` along y (or x), clipped to `clip`: the blinds.
QRegion bands(Qt::Orientation along, int step, int thickness, int count, const QRect& clip)
{
    QRegion result;
    for (int i = 0; i < count; ++i)
        result += along == Qt::Vertical ? QRect(clip.x(), step * i, clip.width(), thickness)
                                        : QRect(step * i, clip.y(), thickness, clip.height());
    return result & clip;
}

QString pixelText(QRgb pixel)
{
    return QStringLiteral("#%1").arg(pixel, 8, 16, QLatin1Char('0'));
}

} // namespace

Q_DECLARE_METATYPE(Probe)

class TestEffects : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void randomPoolInTableOrder();
    void endFrames_data();
    void endFrames();
    void fadeZoomDentine_data();
    void fadeZoomDentine();
    void wheelRotate_data();
    void wheelRotate();
    void cumulateAndLaser_data();
    void cumulateAndLaser();
    void reelWindowOpen_data();
    void reelWindowOpen();
    void reelDepthFromConstruction_data();
    void reelDepthFromConstruction();
    void foldMatchesUnfolded_data();
    void foldMatchesUnfolded();

private:
    static void addFrameColumns();
    static void frameRow(const char* tag, int code, QSize size, float progress, const QRegion& painted, int checks,
        const Probes& probes = {});
    void renderAndCheck();
    QString pictureFor(QSize widgetSize);
    void checkFrame(const QImage& frame, const QRegion& painted, int checks, const Probes& probes);

    QTemporaryDir m_dir;
    QHash<QString, QString> m_pictures;
    std::unique_ptr<LogCapture> m_log;
};

void TestEffects::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

void TestEffects::init()
{
    m_log = std::make_unique<LogCapture>();
}

void TestEffects::cleanup()
{
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

QString TestEffects::pictureFor(QSize widgetSize)
{
    const QSize picture = widgetSize - QSize(1, 1);
    const QString name = QStringLiteral("coords-%1x%2.png").arg(picture.width()).arg(picture.height());
    QString& path = m_pictures[name];
    if (path.isEmpty()) {
        path = m_dir.filePath(name);
        if (!coordinatePicture(picture.width(), picture.height()).save(path, "PNG"))
            path.clear();
    }
    return path;
}

void TestEffects::checkFrame(const QImage& rendered, const QRegion& painted, int checks, const Probes& probes)
{
    const QImage frame = rendered.convertToFormat(QImage::Format_ARGB32);
    const QRegion actual = paintedRegion(frame);
    if (checks & Exact) {
        const QString difference = regionDifference(actual, painted);
        QVERIFY2(difference.isEmpty(), qPrintable(difference));
    } else {
        QVERIFY2(actual.boundingRect() == painted.boundingRect(),
            qPrintable(QStringLiteral("painted box %1, expected %2")
                           .arg(describe(actual.boundingRect()), describe(painted.boundingRect()))));
    }
    if (checks & Identity) {
        const QRegion picture = actual & QRect(0, 0, frame.width() - 1, frame.height() - 1);
        for (const QRect& r : picture) {
            for (int y = r.top(); y <= r.bottom(); ++y) {
                for (int x = r.left(); x <= r.right(); ++x) {
                    const QRgb pixel = frame.pixel(x, y);
                    QVERIFY2(qAlpha(pixel) == 255 && sourceOf(pixel) == QPoint(x, y),
                        qPrintable(QStringLiteral("(%1,%2) is %3, not its own picture pixel")
                                       .arg(x)
                                       .arg(y)
                                       .arg(pixelText(pixel))));
                }
            }
        }
    }
    for (const Probe& probe : probes) {
        const QRgb pixel = frame.pixel(probe.at);
        const QPoint source = sourceOf(pixel, qMax(probe.tolerance, kAlphaTolerance));
        const bool alphaOk = qAbs(qAlpha(pixel) - probe.alpha) <= kAlphaTolerance;
        const bool sourceOk = probe.source.x() < 0
            || (source.x() >= 0 && qAbs(source.x() - probe.source.x()) <= probe.tolerance
                && qAbs(source.y() - probe.source.y()) <= probe.tolerance);
        QVERIFY2(alphaOk && sourceOk,
            qPrintable(QStringLiteral("probe (%1,%2) is %3 (picture pixel %4,%5), expected alpha %6 source %7,%8")
                           .arg(probe.at.x())
                           .arg(probe.at.y())
                           .arg(pixelText(pixel))
                           .arg(source.x())
                           .arg(source.y())
                           .arg(probe.alpha)
                           .arg(probe.source.x())
                           .arg(probe.source.y())));
    }
}

void TestEffects::addFrameColumns()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<float>("progress");
    QTest::addColumn<QRegion>("painted");
    QTest::addColumn<int>("checks");
    QTest::addColumn<Probes>("probes");
}

void TestEffects::frameRow(
    const char* tag, int code, QSize size, float progress, const QRegion& painted, int checks, const Probes& probes)
{
    QTest::newRow(tag) << code << size << progress << painted << checks << probes;
}

void TestEffects::renderAndCheck()
{
    QFETCH(int, code);
    QFETCH(QSize, size);
    QFETCH(float, progress);
    QFETCH(QRegion, painted);
    QFETCH(int, checks);
    QFETCH(Probes, probes);

    Rig rig(size);
    const QString picture = pictureFor(size);
    QVERIFY(!picture.isEmpty());
    rig.display->showEffect(0, picture, 0, 0);
    const QImage frame = rig.display->renderFrame(code, progress);
    QCOMPARE(frame.size(), size);
    checkFrame(frame, painted, checks, probes);
}

void TestEffects::randomPoolInTableOrder()
{
    const QList<int> expected { 16, 17, 18, 19, 20, 21, 22, 32, 33, 34, 35, 48, 49, 50, 51, 52, 53, 64, 65, 96, 97, 112,
        144, 160, 176, 177, 192, 193, 194, 195, 208, 209, 210, 211, 240, 241, 242, 243 };
    QCOMPARE(EffectDisplay::randomEffectCodes(), expected);
}

void TestEffects::endFrames_data()
{
    addFrameColumns();
    // The extend, move and indent families are checked in tst_effectdisplay.
    for (int code : { 64, 65, 144, 176, 177, 192, 193, 194, 195, 208, 209, 210, 211, 240, 241, 242, 243 }) {
        const QByteArray tag = EffectDisplay::effectName(code).toLatin1() + " p=1";
        frameRow(tag.constData(), code, kWide, 1.0f, kWhole, Exact | Identity, { shows({ 150, 80 }, { 150, 80 }) });
    }
    // The brush tiles, so a blind or strip that reaches past the picture repeats its start.
    // Blind 20 spans rows 100..104 (s = 5); only row 100 lies in the widget and shows row 0.
    frameRow("windowBottom 101 rows p=1", 96, kWide, 1.0f, QRect(0, 0, 200, 101), Exact | Identity,
        { shows({ 10, 100 }, { 10, 0 }) });
    // s = 10: blind 20 spans columns 200..209.
    frameRow("windowRight 201 columns p=1", 97, kWide, 1.0f, QRect(0, 0, 201, 100), Exact | Identity,
        { shows({ 200, 10 }, { 0, 10 }) });
    // ph = 171, s = 8: 21 blinds end at row 168; rows 168..170 stay empty.
    frameRow("windowBottom 171 rows p=1", 96, QSize(201, 172), 1.0f, QRect(0, 0, 200, 168), Exact | Identity);
    // pw = 59, s = 2: 21 blinds end at column 42.
    frameRow("windowRight 59 columns p=1", 97, QSize(60, 101), 1.0f, QRect(0, 0, 42, 100), Exact | Identity);
    frameRow("windowBottom 19 rows p=1", 96, QSize(201, 20), 1.0f, QRegion(), Exact);
    frameRow("windowRight 19 columns p=1", 97, QSize(20, 101), 1.0f, QRegion(), Exact);
    // s = 25: strip 8 spans columns 200..224.
    frameRow("dentine 200 columns p=1", 160, kWide, 1.0f, QRect(0, 0, 201, 100), Exact | Identity,
        { shows({ 200, 50 }, { 0, 50 }) });
    // pw = 30, s = 3: nine strips end at column 27.
    frameRow("dentine 30 columns p=1", 160, QSize(31, 41), 1.0f, QRect(0, 0, 27, 40), Exact | Identity);
    frameRow("dentine 7 columns p=1", 160, QSize(8, 41), 1.0f, QRegion(), Exact);
    // w = 100, h = 100, y = 0. Right piece: picture columns 100..199 at x = 99, so x shows x + 1;
    // the left piece, drawn last, columns 0..99 at x = 1, so x shows x - 1. Columns 0, 199 and 200 stay empty.
    frameRow("zoomFullScreen 200 columns p=1", 112, kWide, 1.0f, QRect(1, 0, 198, 100), Exact,
        { shows({ 1, 10 }, { 0, 10 }), shows({ 100, 10 }, { 99, 10 }), shows({ 101, 10 }, { 102, 10 }),
            shows({ 198, 99 }, { 199, 99 }) });
    // pw = 201: the right piece takes picture columns T(201 - 100) = 101..200 at x = 99.
    frameRow("zoomFullScreen 201 columns p=1", 112, QSize(202, 101), 1.0f, QRect(1, 0, 198, 100), Exact,
        { shows({ 50, 10 }, { 49, 10 }), shows({ 150, 10 }, { 152, 10 }), shows({ 198, 10 }, { 200, 10 }) });
    // ph = 99: m = 49, d = 49, the band is y 0..98, so row 98 stays empty.
    frameRow("openToBothSide 99 rows p=1", 242, QSize(201, 100), 1.0f, QRect(0, 0, 200, 98), Exact | Identity);
    // ph = 99: c = 100 * 0.5 = 50; bands y 0..50 and 49..99 meet.
    frameRow("openToCenter 99 rows p=1", 243, QSize(201, 100), 1.0f, QRect(0, 0, 200, 99), Exact | Identity);
}

void TestEffects::endFrames()
{
    renderAndCheck();
}

void TestEffects::fadeZoomDentine_data()
{
    addFrameColumns();
    frameRow("fadeIn p=0", 176, kWide, 0.0f, QRegion(), Exact);
    frameRow("fadeOut p=0", 177, kWide, 0.0f, kWhole, Exact | Identity);
    // Opacity p or 1 - p, as alpha of 255.
    frameRow("fadeIn p=0.5", 176, kWide, 0.5f, kWhole, Exact,
        { { { 50, 50 }, { 50, 50 }, 128, 3 }, { { 180, 90 }, { 180, 90 }, 128, 3 } });
    frameRow("fadeOut p=0.25", 177, kWide, 0.25f, kWhole, Exact, { { { 50, 50 }, { 50, 50 }, 191, 3 } });
    frameRow("fadeOut p=0.9", 177, kWide, 0.9f, kWhole, Exact, { faded({ 50, 50 }, 25) });

    // hw = 100, w = T(100 * p), h = T(100 * p), y = T((1 - p) * 100).
    frameRow("zoomFullScreen p=0", 112, kWide, 0.0f, QRegion(), Exact);
    // w = h = y = 50. Right piece: picture (150, 0, 50, 50) at (99, 50); left piece: picture
    // (0, 0, 50, 50) at (T(0.5 * 100 + 1) = 51, 50), drawn last over columns 99 and 100.
    frameRow("zoomFullScreen p=0.5", 112, kWide, 0.5f, QRect(51, 50, 98, 50), Exact,
        { shows({ 60, 60 }, { 9, 10 }), shows({ 100, 99 }, { 49, 49 }), shows({ 101, 50 }, { 152, 0 }),
            shows({ 148, 99 }, { 199, 49 }) });

    frameRow("dentine p=0", 160, kWide, 0.0f, QRegion(), Exact);
    // s = 25. Even strips are shifted down by (1 - p) * 100 = 50 and show the top half of their
    // slice at rows 50..99; odd strips are shifted up by 50 and show the bottom half at rows 0..49.
    // Strip 8 reaches column 200 with the tiled brush.
    frameRow("dentine p=0.5", 160, kWide, 0.5f,
        region({ { 0, 50, 25, 50 }, { 25, 0, 25, 50 }, { 50, 50, 25, 50 }, { 75, 0, 25, 50 }, { 100, 50, 25, 50 },
            { 125, 0, 25, 50 }, { 150, 50, 25, 50 }, { 175, 0, 25, 50 }, { 200, 50, 1, 50 } }),
        Exact,
        { shows({ 10, 50 }, { 10, 0 }), shows({ 10, 99 }, { 10, 49 }), shows({ 30, 0 }, { 30, 50 }),
            shows({ 30, 49 }, { 30, 99 }), shows({ 199, 0 }, { 199, 50 }), shows({ 200, 60 }, { 0, 10 }) });
}

void TestEffects::fadeZoomDentine()
{
    renderAndCheck();
}

void TestEffects::wheelRotate_data()
{
    addFrameColumns();
    // cx = 100, cy = 50. Rows without Exact give the bounding box of a slanted polygon, and
    // probes on both sides of the slanted edge.
    frameRow("p=0", 144, kWide, 0.0f, QRegion(), Exact);
    // Triangle (100,50) (100,0) (200,0): the edge x = 100 + 2 * (50 - y) passes pixel centre
    // row 0 at 199, so column 199 stays empty, and row 49 at 101.
    frameRow("p=0.125 takes the first range", 144, kWide, 0.125f, QRect(100, 0, 99, 50), Identity,
        { shows({ 120, 20 }, { 120, 20 }), empty({ 150, 30 }), empty({ 99, 10 }), empty({ 199, 0 }),
            shows({ 100, 49 }, { 100, 49 }), empty({ 101, 49 }) });
    frameRow("p=0.25", 144, kWide, 0.25f, QRect(100, 0, 100, 50), Exact | Identity);
    // (200, 0.25 * 100 * 4 = 100): the right edge is covered to the bottom; below the
    // edge y = 50 + (x - 100) / 2 stays empty.
    frameRow("p=0.375 takes the second range", 144, kWide, 0.375f, QRect(100, 0, 100, 100), Identity,
        { shows({ 199, 99 }, { 199, 99 }), shows({ 190, 90 }, { 190, 90 }), shows({ 150, 60 }, { 150, 60 }),
            empty({ 110, 90 }), empty({ 105, 55 }), empty({ 99, 10 }) });
    frameRow("p=0.5", 144, kWide, 0.5f, QRect(100, 0, 100, 100), Exact | Identity);
    // (200 - 0.25 * 200 * 4 = 0, 100): the left lower triangle under y = 100 - x / 2; pixel
    // centre 0.5 of column 0 meets it at y 99.75, below row 99's centre, so column 0 stays empty.
    frameRow("p=0.625 takes the third range", 144, kWide, 0.625f, QRect(1, 0, 199, 100), Identity,
        { shows({ 10, 98 }, { 10, 98 }), shows({ 90, 60 }, { 90, 60 }), shows({ 1, 99 }, { 1, 99 }), empty({ 0, 99 }),
            empty({ 10, 80 }), empty({ 90, 40 }) });
    frameRow("p=0.75", 144, kWide, 0.75f, region({ { 100, 0, 100, 100 }, { 0, 50, 100, 50 } }), Exact | Identity);
    // (0, 100 - 0.25 * 100 * 4 = 0): everything but the triangle above y = x / 2.
    frameRow("p=0.875 takes the fourth range", 144, kWide, 0.875f, kWhole, Identity,
        { shows({ 0, 0 }, { 0, 0 }), shows({ 10, 10 }, { 10, 10 }), shows({ 60, 40 }, { 60, 40 }), empty({ 10, 2 }),
            empty({ 90, 10 }), shows({ 150, 10 }, { 150, 10 }) });
}

void TestEffects::wheelRotate()
{
    renderAndCheck();
}

void TestEffects::cumulateAndLaser_data()
{
    addFrameColumns();
    // The smear maps frame column X (or row) to piece pixel floor((X - destination + 0.5) *
    // piece / destination length); probes allow one pixel for the sampling.
    // p = 0: piece is the whole picture, destination x = -(200 * 2) = -400, width 600, so X
    // shows (X + 400.5) / 3; the polygon is column 199 alone.
    frameRow("cumulateLeft p=0", 192, kWide, 0.0f, kWhole, Exact,
        { shows({ 0, 10 }, { 133, 10 }, 1), shows({ 100, 50 }, { 166, 50 }, 1), shows({ 199, 20 }, { 199, 20 }) });
    // Destination y = -200, height 300; the polygon is row 99.
    frameRow("cumulateTop p=0", 193, kWide, 0.0f, kWhole, Exact,
        { shows({ 10, 0 }, { 10, 66 }, 1), shows({ 10, 50 }, { 10, 83 }, 1), shows({ 150, 99 }, { 150, 99 }) });
    // Destination (0, 0, 600, 100) runs past the picture into the widget's last column.
    frameRow("cumulateRight p=0", 194, kWide, 0.0f, QRect(0, 0, 201, 100), Exact,
        { shows({ 0, 10 }, { 0, 10 }), shows({ 99, 50 }, { 33, 50 }, 1), shows({ 200, 10 }, { 66, 10 }, 1) });
    frameRow("cumulateBottom p=0", 195, kWide, 0.0f, QRect(0, 0, 200, 101), Exact,
        { shows({ 10, 0 }, { 10, 0 }), shows({ 10, 100 }, { 10, 33 }, 1) });
    // Destination x = -(200 * 29) = -5800, width 6000.
    frameRow("laserLeft p=0", 208, kWide, 0.0f, kWhole, Exact,
        { shows({ 0, 10 }, { 193, 10 }, 1), shows({ 100, 10 }, { 196, 10 }, 1), shows({ 199, 10 }, { 199, 10 }) });
    frameRow("laserRight p=0", 210, kWide, 0.0f, QRect(0, 0, 201, 100), Exact,
        { shows({ 0, 10 }, { 0, 10 }), shows({ 200, 10 }, { 6, 10 }, 1) });

    // p = 0.5, q = 0.5: the revealed half is exact, the other half shows the smeared piece.
    // Piece (0, 0, 100, 100) into (-200, 0, 300, 100); polygon from x = 99.
    frameRow("cumulateLeft p=0.5", 192, kWide, 0.5f, kWhole, Exact,
        { shows({ 0, 10 }, { 66, 10 }, 1), shows({ 40, 70 }, { 80, 70 }, 1), shows({ 99, 50 }, { 99, 50 }),
            shows({ 150, 50 }, { 150, 50 }) });
    // Piece (0, 0, 200, 50) into (0, -100, 200, 150); polygon from y = 49.
    frameRow("cumulateTop p=0.5", 193, kWide, 0.5f, kWhole, Exact,
        { shows({ 10, 0 }, { 10, 33 }, 1), shows({ 10, 30 }, { 10, 43 }, 1), shows({ 10, 49 }, { 10, 49 }),
            shows({ 10, 80 }, { 10, 80 }) });
    // Piece (100, 0, 100, 100) into (100, 0, 300, 100); polygon x 0..100.
    frameRow("cumulateRight p=0.5", 194, kWide, 0.5f, QRect(0, 0, 201, 100), Exact,
        { shows({ 50, 50 }, { 50, 50 }), shows({ 99, 50 }, { 99, 50 }), shows({ 150, 10 }, { 116, 10 }, 1),
            shows({ 200, 10 }, { 133, 10 }, 1) });
    // Piece (0, 50, 200, 50) into (0, 50, 200, 150); polygon y 0..50.
    frameRow("cumulateBottom p=0.5", 195, kWide, 0.5f, QRect(0, 0, 200, 101), Exact,
        { shows({ 10, 20 }, { 10, 20 }), shows({ 10, 50 }, { 10, 50 }), shows({ 10, 100 }, { 10, 66 }, 1) });
    // Piece (0, 0, 100, 100) into (-2900, 0, 3000, 100); drawn after the polygon.
    frameRow("laserLeft p=0.5", 208, kWide, 0.5f, kWhole, Exact,
        { shows({ 0, 10 }, { 96, 10 }, 1), shows({ 50, 10 }, { 98, 10 }, 1), shows({ 150, 10 }, { 150, 10 }) });
    // Piece (0, 0, 200, 50) into (0, -1450, 200, 1500).
    frameRow("laserTop p=0.5", 209, kWide, 0.5f, kWhole, Exact,
        { shows({ 10, 0 }, { 10, 48 }, 1), shows({ 10, 80 }, { 10, 80 }) });
    // Piece (100, 0, 100, 100) into (100, 0, 3000, 100).
    frameRow("laserRight p=0.5", 210, kWide, 0.5f, QRect(0, 0, 201, 100), Exact,
        { shows({ 50, 10 }, { 50, 10 }), shows({ 200, 10 }, { 103, 10 }, 1) });
    // Piece (0, 50, 200, 50) into (0, 50, 200, 1500).
    frameRow("laserBottom p=0.5", 211, kWide, 0.5f, QRect(0, 0, 200, 101), Exact,
        { shows({ 10, 10 }, { 10, 10 }), shows({ 10, 75 }, { 10, 50 }, 1), shows({ 10, 100 }, { 10, 51 }, 1) });
    // Near the end the piece is empty (q * 200 = 0.98) while the smear is still (-28, 0, 29, 100):
    // cutting an empty piece gives the whole picture, squeezed in; drawn last, column 0 shows
    // picture column (0 + 28.5) * 200 / 29 = 196.
    frameRow("laserLeft p=0.9951 empty piece", 208, kWide, 0.9951f, kWhole, Exact,
        { shows({ 0, 10 }, { 196, 10 }, 1), shows({ 100, 10 }, { 100, 10 }) });
}

void TestEffects::cumulateAndLaser()
{
    renderAndCheck();
}

void TestEffects::reelWindowOpen_data()
{
    addFrameColumns();
    const QSize tall(201, 201); // ph = 200, m_reelThickness R = 201 / 20 = 10

    // The curl's mirror maps y to 199 - y (reelTop, after its shift by ph - 2A) and to
    // 200 - y (reelBottom, after ph - 2B).
    // reelTop p=0.5: A = 100, limit T(110); the curl y 100..110 lands on rows 89..98, row r
    // showing picture row 198 - r, so the rows below the edge appear flipped above it.
    frameRow("reelTop p=0.5", 64, tall, 0.5f, QRect(0, 0, 200, 100), Exact,
        { shows({ 10, 98 }, { 10, 100 }), shows({ 10, 89 }, { 10, 109 }), shows({ 10, 88 }, { 10, 88 }),
            shows({ 10, 99 }, { 10, 99 }) });
    // A = 196: fewer than R rows remain, so the limit is ph; the curl y 196..200 lands on rows
    // 191..194 and row 185 keeps its own pixel.
    frameRow("reelTop p=0.98", 64, tall, 0.98f, QRect(0, 0, 200, 196), Exact,
        { shows({ 10, 194 }, { 10, 196 }), shows({ 10, 191 }, { 10, 199 }), shows({ 10, 190 }, { 10, 190 }),
            shows({ 10, 185 }, { 10, 185 }), shows({ 10, 195 }, { 10, 195 }) });
    frameRow("reelTop p=0", 64, kWide, 0.0f, QRegion(), Exact);
    // B = 100, limit T(90); the curl y 90..100 lands on rows 100..109, row r showing 199 - r.
    frameRow("reelBottom p=0.5", 65, tall, 0.5f, QRect(0, 100, 200, 100), Exact,
        { shows({ 10, 100 }, { 10, 99 }), shows({ 10, 109 }, { 10, 90 }), shows({ 10, 110 }, { 10, 110 }) });
    // B = 4, limit 0; the curl y 0..4 lands on rows 4..7.
    frameRow("reelBottom p=0.98", 65, tall, 0.98f, QRect(0, 4, 200, 196), Exact,
        { shows({ 10, 4 }, { 10, 3 }), shows({ 10, 7 }, { 10, 0 }), shows({ 10, 8 }, { 10, 8 }),
            shows({ 10, 12 }, { 10, 12 }) });
    // ph = 100, R = 5, B = 100: the curl y 95..100 lands on rows 100..104, of which the
    // widget's last row shows picture row 99.
    frameRow("reelBottom p=0 paints one row", 65, kWide, 0.0f, QRect(0, 100, 200, 1), Exact,
        { shows({ 10, 100 }, { 10, 99 }) });

    frameRow("windowBottom p=0", 96, kWide, 0.0f, QRegion(), Exact);
    frameRow("windowRight p=0", 97, kWide, 0.0f, QRegion(), Exact);
    // s = 5: blind i covers y 5i..5i + 2.5, rows 5i..5i + 2; blind 20 leaves only row 100.
    frameRow("windowBottom p=0.5", 96, kWide, 0.5f, bands(Qt::Vertical, 5, 3, 21, QRect(0, 0, 200, 101)),
        Exact | Identity,
        { shows({ 10, 2 }, { 10, 2 }), empty({ 10, 3 }), empty({ 10, 4 }), shows({ 10, 95 }, { 10, 95 }),
            shows({ 10, 100 }, { 10, 0 }) });
    // s = 10: blind i covers x 10i..10i + 5, columns 10i..10i + 4.
    frameRow("windowRight p=0.5", 97, kWide, 0.5f, bands(Qt::Horizontal, 10, 5, 21, QRect(0, 0, 201, 100)),
        Exact | Identity, { shows({ 4, 10 }, { 4, 10 }), empty({ 5, 10 }), shows({ 200, 10 }, { 0, 10 }) });

    for (int code : { 240, 241, 242, 243 }) {
        const QByteArray tag = EffectDisplay::effectName(code).toLatin1() + " p=0";
        frameRow(tag.constData(), code, kWide, 0.0f, QRegion(), Exact);
    }
    frameRow("openToBottom p=0.5", 240, kWide, 0.5f, QRect(0, 0, 200, 50), Exact | Identity);
    frameRow("openToTop p=0.5", 241, kWide, 0.5f, QRect(0, 50, 200, 50), Exact | Identity);
    // m = 50, d = 25: y 25..75.
    frameRow("openToBothSide p=0.5", 242, kWide, 0.5f, QRect(0, 25, 200, 50), Exact | Identity);
    // ph = 99: m = 49, d = 24.5: y 24.5..73.5, rows 25..73.
    frameRow("openToBothSide 99 rows p=0.5", 242, QSize(201, 100), 0.5f, QRect(0, 25, 200, 49), Exact | Identity);
    // c = 101 * 0.5 * 0.5 = 25.25: y 0..25.25 and 74.75..100, rows 0..24 and 75..99.
    frameRow(
        "openToCenter p=0.5", 243, kWide, 0.5f, region({ { 0, 0, 200, 25 }, { 0, 75, 200, 25 } }), Exact | Identity);
}

void TestEffects::reelWindowOpen()
{
    renderAndCheck();
}

void TestEffects::reelDepthFromConstruction_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QRegion>("painted");
    QTest::addColumn<Probes>("probes");

    // Built 201 high (R = 10), shown 101 high (ph = 100, where a new display would have R = 5).
    // reelTop: A = 50, limit 60, the curl y 50..60 lands on rows 39..48 showing 98 - r.
    QTest::newRow("reelTop") << 64 << QRegion(0, 0, 200, 50)
                             << Probes { shows({ 10, 39 }, { 10, 59 }), shows({ 10, 44 }, { 10, 54 }),
                                    shows({ 10, 48 }, { 10, 50 }), shows({ 10, 38 }, { 10, 38 }) };
    // reelBottom: B = 50, limit 40, the curl y 40..50 lands on rows 50..59 showing 99 - r.
    QTest::newRow("reelBottom") << 65 << QRegion(0, 50, 200, 50)
                                << Probes { shows({ 10, 50 }, { 10, 49 }), shows({ 10, 55 }, { 10, 44 }),
                                       shows({ 10, 59 }, { 10, 40 }), shows({ 10, 60 }, { 10, 60 }) };
}

void TestEffects::reelDepthFromConstruction()
{
    QFETCH(int, code);
    QFETCH(QRegion, painted);
    QFETCH(Probes, probes);

    Rig rig(QSize(201, 201));
    rig.display->resize(kWide);
    rig.display->showEffect(0, pictureFor(kWide), 0, 0);
    const QImage frame = rig.display->renderFrame(code, 0.5f);
    QCOMPARE(frame.size(), kWide);
    checkFrame(frame, painted, Exact, probes);
}

void TestEffects::foldMatchesUnfolded_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<float>("progress");
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QList<QRect>>("rects");

    // Both folds total 201 x 101, so the picture is 200 x 100 as on an unfolded 201 x 101 display.
    const QList<QRect> sideBySide { { 0, 0, 100, 101 }, { 150, 120, 101, 101 } };
    const QList<QRect> stacked { { 0, 0, 201, 40 }, { 60, 150, 201, 61 } };
    QTest::newRow("openToBottom side by side") << 240 << 0.5f << 0 << sideBySide;
    QTest::newRow("wheelRotate side by side") << 144 << 0.625f << 0 << sideBySide;
    QTest::newRow("dentine side by side") << 160 << 0.5f << 0 << sideBySide;
    QTest::newRow("cumulateLeft side by side") << 192 << 0.5f << 0 << sideBySide;
    QTest::newRow("windowBottom stacked") << 96 << 0.5f << 1 << stacked;
    QTest::newRow("wheelRotate stacked") << 144 << 0.875f << 1 << stacked;
}

void TestEffects::foldMatchesUnfolded()
{
    QFETCH(int, code);
    QFETCH(float, progress);
    QFETCH(int, orientation);
    QFETCH(QList<QRect>, rects);

    const QString picture = pictureFor(kWide);
    Rig plain(kWide);
    plain.display->showEffect(0, picture, 0, 0);
    const QImage whole = plain.display->renderFrame(code, progress);

    Rig folded(QSize(300, 240));
    ns::Fold fold;
    fold.enabled = true;
    fold.count = int(rects.size());
    fold.orientation = ns::EnumOrientation(orientation);
    for (const QRect& r : rects)
        fold.rects.push_back({ r.x(), r.y(), r.width(), r.height() });
    folded.display->setFoldParaMeters(fold);
    folded.display->showEffect(0, picture, 0, 0);
    const QImage frame = folded.display->renderFrame(code, progress);

    // The composed frame is the picture's size, so each piece shows the unfolded frame's slice
    // cut to the picture; the rest of its rectangle and everything around stay empty.
    QImage expected(frame.size(), QImage::Format_ARGB32_Premultiplied);
    expected.fill(Qt::transparent);
    QPainter painter(&expected);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    int offset = 0;
    for (const QRect& target : rects) {
        const QRect slice = (orientation == 0 ? QRect(offset, 0, target.width(), target.height())
                                              : QRect(0, offset, target.width(), target.height()))
            & kWhole;
        painter.drawImage(target.topLeft(), whole.copy(slice));
        offset += orientation == 0 ? target.width() : target.height();
    }
    painter.end();
    QVERIFY(!paintedRegion(expected).isEmpty());
    const QString difference = imageDifference(frame, expected);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

QTEST_MAIN(TestEffects)
#include "tst_effects.moc"
