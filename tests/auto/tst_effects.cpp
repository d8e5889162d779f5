// Frame-exact checks of the transitions. The picture is the coordinate picture at exactly the fitted
// size (widget size - 1), so loading leaves it unscaled and every painted pixel names the picture
// pixel it shows. A row gives the painted region and the layers the effect draws, worked out by hand
// from the effect formulas for the row's size: each layer maps a destination rectangle onto a source
// rectangle of the picture (nearest pixel; a brush tiles the picture past its edge), later layers
// over earlier ones. Polygons fill the pixels whose centres lie inside. Rows with a fold check that
// each fold rectangle shows its piece of the same frame.
#include "framecheck.h"

#include <effectdisplay.h>

#include <QtTest>

#include <cmath>

using namespace framecheck;

namespace {

const QSize kWide(201, 101); // pw = 200, ph = 100
const QSize kTall(201, 201); // ph = 200, reel depth 201 / 20 = 10
const QRect kWhole(0, 0, 200, 100);

// A null source: the picture at its place. A null destination: everywhere.
struct Layer {
    QRect dest;
    QRect source;
};
using Layers = QVector<Layer>;
using Probes = QVector<QPair<QPoint, bool>>; // painted or not

struct Frame {
    int code = 0;
    float progress = 0;
    QRegion painted;
    Layers layers;
    QSize size = kWide;
    bool exact = true; // else only the bounding box of `painted`, and the probes
    Probes probes = {};
    // Below 255 only the alpha of the painted pixels is checked; a fold cuts the frame into two
    // rectangles side by side (1) or stacked (2), `count` pieces of them shown.
    int alpha = 255, fold = 0, count = 2;
};

struct Make {
    static Layer id(QRect over = {}) { return { over, {} }; }
    static Layer stretch(QRect dest, QRect source = kWhole) { return { dest, source }; }
    // Rows of `dest` show the picture upside down, the first one picture row `topRow`.
    static Layer mirror(QRect dest, int topRow)
    {
        return { dest, { dest.x(), topRow + 1, dest.width(), -dest.height() } };
    }
    static QPair<QPoint, bool> on(int x, int y) { return { { x, y }, true }; }
    static QPair<QPoint, bool> off(int x, int y) { return { { x, y }, false }; }
    static int modulo(int a, int n) { return ((a % n) + n) % n; }
};

// `count` bands of `thickness` every `step` along `along`, clipped to `clip`: the blinds.
QRegion bands(Qt::Orientation along, int step, int thickness, int count, const QRect& clip)
{
    QRegion result;
    for (int i = 0; i < count; ++i)
        result += along == Qt::Vertical ? QRect(clip.x(), step * i, clip.width(), thickness)
                                        : QRect(step * i, clip.y(), thickness, clip.height());
    return result & clip;
}

void add(Frame f)
{
    QByteArray name = EffectDisplay::effectName(f.code).toLatin1();
    name = (name.isEmpty() ? "code " + QByteArray::number(f.code) : name) + " p=" + QByteArray::number(f.progress);
    if (f.size != kWide)
        name += " " + QByteArray::number(f.size.width()) + "x" + QByteArray::number(f.size.height());
    if (f.fold)
        name += " fold " + QByteArray::number(f.fold * 10 + f.count);
    QTest::newRow(name.constData()) << f;
}

} // namespace

Q_DECLARE_METATYPE(Frame)

class TestEffects : public QObject, Make {
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }
    void frames_data();
    void frames();

private:
    QString pictureFor(QSize widget);

    QTemporaryDir m_dir;
};

QString TestEffects::pictureFor(QSize widget)
{
    const QSize picture = widget - QSize(1, 1);
    const QString path = m_dir.filePath(QStringLiteral("coords-%1x%2.png").arg(picture.width()).arg(picture.height()));
    if (!QFile::exists(path))
        coordinatePicture(picture.width(), picture.height()).save(path, "PNG");
    return path;
}

void TestEffects::frames_data()
{
    QTest::addColumn<Frame>("f");
    const QRect wideArea(QPoint(0, 0), kWide);

    // End frames: the picture at its place.
    for (int code : EffectDisplay::randomEffectCodes() + QList<int> { 0 }) {
        if (code != 96 && code != 97 && code != 112 && code != 160)
            add({ code, 1, kWhole, { id() } });
    }
    add({ 0, 1, kWhole, { id() }, kWide, true, {}, 255, 2, 3 });
    // The last blind (s = ph / 20) and the ninth strip (s = pw / 8) take what the division leaves,
    // and the tiled brush repeats the picture's start there.
    add({ 96, 1, QRect(0, 0, 200, 101), { id() } });
    add({ 97, 1, QRect(0, 0, 201, 100), { id() } });
    add({ 160, 1, QRect(0, 0, 201, 100), { id() } });
    // Zoom: the right half at x = pw / 2 - 1, then the left half at x = 1 over it.
    const Layer left = stretch({ 1, 0, 100, 100 }, { 0, 0, 100, 100 });
    add({ 112, 1, QRect(1, 0, 198, 100), { stretch({ 99, 0, 100, 100 }, { 100, 0, 100, 100 }), left } });
    // ph = 99: the centre bands, (ph + 1) / 2 high, meet.
    add({ 243, 1, QRect(0, 0, 200, 99), { id() }, QSize(201, 100) });

    for (int code : { 16, 17, 18, 19, 20, 21, 22, 32, 33, 64, 96, 97, 112, 144, 160, 176, 240, 241, 242, 243 })
        add({ code, 0, QRegion() });
    for (int code : { 2, 0x17, 0x42, 0xF8, -16 })
        add({ code, 0.5f, QRegion() });

    // Extend, move and indent at p = 0.25: one draw of the whole picture into a rectangle.
    const QList<QPair<int, QRect>> draws { { 16, { 0, 0, 50, 100 } }, { 17, { 0, 0, 200, 25 } },
        { 18, { 150, 0, 50, 100 } }, { 19, { 0, 75, 200, 25 } }, { 20, { 75, 37, 50, 25 } }, { 21, { 75, 0, 50, 100 } },
        { 22, { 0, 37, 200, 25 } }, { 32, { -150, 0, 200, 100 } }, { 33, { 0, -75, 200, 100 } },
        { 34, { 150, 0, 200, 100 } }, { 35, { 0, 75, 200, 100 } }, { 48, { -3000, 0, 3200, 100 } },
        { 49, { 0, -1500, 200, 1600 } }, { 50, { 0, 0, 3200, 100 } }, { 51, { 0, 0, 200, 1600 } },
        { 52, { 0, -750, 200, 1600 } }, { 53, { -1500, 0, 3200, 100 } } };
    for (const auto& draw : draws)
        add({ draw.first, 0.25f, draw.second & wideArea, { stretch(draw.second) } });
    add({ 20, 0.25f, QRect(75, 37, 50, 25), { stretch({ 75, 37, 50, 25 }) }, kWide, true, {}, 255, 1, 1 });

    // Fades: opacity p, and 1 - p.
    add({ 176, 0.5f, kWhole, {}, kWide, true, {}, 128 });
    add({ 177, 0.25f, kWhole, {}, kWide, true, {}, 191 });

    // w = h = y = 50: picture (150, 0) at (99, 50), then picture (0, 0) at (51, 50).
    add({ 112, 0.5f, QRect(51, 50, 98, 50),
        { stretch({ 99, 50, 50, 50 }, { 150, 0, 50, 50 }), stretch({ 51, 50, 50, 50 }, { 0, 0, 50, 50 }) } });

    // s = 25: even strips shifted down by (1 - p) * ph, odd ones up, each with its slice.
    Layers strips;
    QRegion stripArea;
    for (int i = 0; i <= 8; ++i) {
        strips << stretch({ 25 * i, i % 2 ? 0 : 50, 25, 50 }, { 25 * i, i % 2 ? 50 : 0, 25, 50 });
        stripArea += strips.last().dest & wideArea;
    }
    add({ 160, 0.5f, stripArea, strips, kWide, true, {}, 255, 2 });

    // The sweep from twelve, clockwise round the border (cx = 100, cy = 50); slanted edges are probed.
    add({ 144, 0.125f, QRect(100, 0, 99, 50), { id() }, kWide, false,
        { on(120, 20), on(100, 49), off(150, 30), off(99, 10), off(199, 0), off(101, 49) } });
    add({ 144, 0.375f, QRect(100, 0, 100, 100), { id() }, kWide, false,
        { on(199, 99), on(150, 60), off(110, 90), off(105, 55) } });
    add({ 144, 0.625f, QRect(1, 0, 199, 100), { id() }, kWide, false,
        { on(10, 98), on(90, 60), on(1, 99), off(0, 99), off(10, 80), off(90, 40) }, 255, 1 });
    add({ 144, 0.875f, kWhole, { id() }, kWide, false, { on(0, 0), on(60, 40), off(10, 2), off(90, 10) } });

    // Cumulate and laser: the piece not yet revealed is smeared 3 (30) times along the way, the
    // revealed part stands at its place from a pixel before the smear's edge.
    add({ 192, 0, kWhole, { stretch({ -400, 0, 600, 100 }), id({ 199, 0, 1, 100 }) } });
    const Layer leftHalf = id({ 0, 0, 100, 100 });
    const Layer topHalf = id({ 0, 0, 200, 50 });
    add({ 192, 0.5f, kWhole, { stretch({ -200, 0, 300, 100 }, { 0, 0, 100, 100 }), id({ 99, 0, 101, 100 }) }, kWide,
        true, {}, 255, 1 });
    add({ 193, 0.5f, kWhole, { stretch({ 0, -100, 200, 150 }, { 0, 0, 200, 50 }), id({ 0, 49, 200, 51 }) } });
    add({ 194, 0.5f, QRect(0, 0, 201, 100), { stretch({ 100, 0, 300, 100 }, { 100, 0, 100, 100 }), leftHalf } });
    add({ 195, 0.5f, QRect(0, 0, 200, 101), { stretch({ 0, 50, 200, 150 }, { 0, 50, 200, 50 }), topHalf } });
    // laserLeft alone paints the revealed part first.
    add({ 208, 0.5f, kWhole, { id({ 99, 0, 101, 100 }), stretch({ -2900, 0, 3000, 100 }, { 0, 0, 100, 100 }) } });
    add({ 209, 0.5f, kWhole, { stretch({ 0, -1450, 200, 1500 }, { 0, 0, 200, 50 }), id({ 0, 49, 200, 51 }) } });
    add({ 210, 0.5f, QRect(0, 0, 201, 100), { stretch({ 100, 0, 3000, 100 }, { 100, 0, 100, 100 }), leftHalf } });
    add({ 211, 0.5f, QRect(0, 0, 200, 101), { stretch({ 0, 50, 200, 1500 }, { 0, 50, 200, 50 }), topHalf } });
    // The piece is empty (q * pw = 0.98) while the smear is still 29 wide: the whole picture is squeezed in.
    add({ 208, 0.9951f, kWhole, { id(), stretch({ -28, 0, 29, 100 }) } });

    // Reel: the curl mirrors what comes next over the edge, as deep as the widget is high / 20.
    add({ 64, 0.5f, QRect(0, 0, 200, 100), { id(), mirror({ 0, 89, 200, 10 }, 109) }, kTall });
    add({ 64, 0.98f, QRect(0, 0, 200, 196), { id(), mirror({ 0, 191, 200, 4 }, 199) }, kTall });
    add({ 65, 0.5f, QRect(0, 100, 200, 100), { id(), mirror({ 0, 100, 200, 10 }, 99) }, kTall });
    add({ 65, 0.98f, QRect(0, 4, 200, 196), { id(), mirror({ 0, 4, 200, 4 }, 3) }, kTall });
    add({ 65, 0, QRect(0, 100, 200, 1), { mirror({ 0, 100, 200, 1 }, 99) } });

    // Blinds s = 5 rows (10 columns) apart, each s * p thick; open bands.
    add({ 96, 0.5f, bands(Qt::Vertical, 5, 3, 21, QRect(0, 0, 200, 101)), { id() }, kWide, true, {}, 255, 2 });
    add({ 97, 0.5f, bands(Qt::Horizontal, 10, 5, 21, QRect(0, 0, 201, 100)), { id() } });
    add({ 240, 0.5f, QRect(0, 0, 200, 50), { id() }, kWide, true, {}, 255, 1 });
    add({ 241, 0.5f, QRect(0, 50, 200, 50), { id() } });
    add({ 242, 0.5f, QRect(0, 25, 200, 50), { id() } });
    add({ 242, 0.5f, QRect(0, 25, 200, 49), { id() }, QSize(201, 100) });
    add({ 243, 0.5f, QRegion(0, 0, 200, 25) + QRect(0, 75, 200, 25), { id() } });
}

void TestEffects::frames()
{
    QFETCH(Frame, f);
    QWidget parent;
    parent.resize(f.size);
    auto* display = new EffectDisplay(&parent);
    display->showEffect(0, pictureFor(f.size), 0, 0);
    const QImage frame = display->renderFrame(f.code, f.progress).convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(frame.size(), f.size);

    const QRegion painted = paintedRegion(frame);
    const QString difference = regionDifference(painted, f.painted);
    QVERIFY2(difference.isEmpty() || (!f.exact && painted.boundingRect() == f.painted.boundingRect()),
        qPrintable(difference));
    for (const auto& probe : qAsConst(f.probes))
        QVERIFY2((qAlpha(frame.pixel(probe.first)) != 0) == probe.second,
            qPrintable(describe(QRect(probe.first, QSize(1, 1)))));

    const QSize picture = f.size - QSize(1, 1);
    for (const QRect& r : painted) {
        for (int y = r.top(); y <= r.bottom(); ++y) {
            for (int x = r.left(); x <= r.right(); ++x) {
                const QRgb pixel = frame.pixel(x, y);
                const Layer* top = nullptr;
                for (const Layer& layer : qAsConst(f.layers))
                    top = layer.dest.isNull() || layer.dest.contains(x, y) ? &layer : top;
                QPoint expected(x, y);
                const QRect& d = top ? top->dest : QRect();
                const QRect& s = top ? top->source : QRect();
                if (!s.isNull())
                    expected = QPoint(s.x() + int(std::floor((x - d.x() + 0.5) * s.width() / d.width())),
                        s.y() + int(std::floor((y - d.y() + 0.5) * s.height() / d.height())));
                expected = QPoint(modulo(expected.x(), picture.width()), modulo(expected.y(), picture.height()));
                const int tolerance
                    = s.isNull() || (d.width() == std::abs(s.width()) && d.height() == std::abs(s.height())) ? 0 : 1;
                const QPoint shown = sourceOf(pixel);
                if (std::abs(qAlpha(pixel) - f.alpha) > 2
                    || (f.alpha == 255
                        && (!top || shown.x() < 0 || std::abs(shown.x() - expected.x()) > tolerance
                            || std::abs(shown.y() - expected.y()) > tolerance)))
                    QFAIL(qPrintable(QString::asprintf(
                        "(%d,%d) is #%08x, not picture pixel (%d,%d)", x, y, pixel, expected.x(), expected.y())));
            }
        }
    }
    if (!f.fold)
        return;
    // The fold composes 201 x 101, as this display; its picture, and so each piece, is one pixel short.
    const bool stacked = f.fold == 2;
    const QList<QRect> rects = stacked ? QList<QRect> { { 0, 0, 201, 40 }, { 60, 150, 201, 61 } }
                                       : QList<QRect> { { 0, 0, 100, 101 }, { 150, 120, 101, 101 } };
    parent.resize(300, 240);
    auto* folded = new EffectDisplay(&parent);
    folded->setFoldParaMeters(makeFold(rects, stacked, f.count));
    folded->showEffect(0, pictureFor(f.size), 0, 0);
    const QImage cut = folded->renderFrame(f.code, f.progress);
    const QImage expected
        = foldCut(frame.copy(QRect(QPoint(0, 0), picture)), rects, stacked, std::min(f.count, 2), cut.size());
    QVERIFY2(imageDifference(cut, expected).isEmpty(), qPrintable(imageDifference(cut, expected)));
}

QTEST_MAIN(TestEffects)
#include "tst_effects.moc"
