// The picture marquee (codes 244 to 247): which item lies where on each frame. Items are solid
// blocks of distinct colours and sizes, drawn at their own size, so a frame can be compared pixel
// for pixel. Every renderFrame call is one frame: it draws, then moves the belt by the step.
//
// What a viewer sees is a belt: the items in list order, each directly behind the one before, the
// gap only after the last, repeating. A backward belt (244, 246) enters at the far edge D and on
// frame k begins at D - step * k; a forward one (245, 247) enters at 0 and its front is at step * k.
// The rows keep every width entry a multiple of the step, so the ring rotates without a jump, and
// make the ring long enough (its length minus its longest entry at least D) to cover the display.
#include "framecheck.h"
#include "logcapture.h"
#include "testpictures.h"

#include <effectdisplay.h>

#include <QPainter>
#include <QTemporaryDir>
#include <QtTest>

#include <optional>

using namespace framecheck;
using namespace testpictures;

namespace {

const QColor kPalette[] = { kTopLeft, kTopRight, kBottomLeft };

QImage solid(QSize size, const QColor& colour)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

// A display in marquee mode on a hidden parent, the belt's items set in the documented order:
// the first from a file, the rest appended.
struct Rig {
    QTemporaryDir dir;
    QWidget parent;
    EffectDisplay* display = nullptr; // made once the parent has its size

    Rig(QSize size, int code, const QList<QSize>& items, int gap, const ns::Fold& fold)
    {
        parent.resize(size);
        display = new EffectDisplay(&parent);
        display->setFoldParaMeters(fold);
        display->setPlayMarquee(true);
        display->setMarqueeSpeed(10, 10); // ms a frame, pixels a frame
        display->setMarqueeParaMeters(gap >= 0, gap);
        const QString first
            = items.isEmpty() ? QString() : savePng(solid(items[0], kPalette[0]), dir.path(), "first.png");
        display->showEffect(code, first, 1000, 1000);
        for (int i = 1; i < items.size(); ++i)
            display->appendPixmap(QPixmap::fromImage(solid(items[i], kPalette[i])));
    }
    QImage frame(int code) { return display->renderFrame(code, 0.0f).convertToFormat(QImage::Format_ARGB32); }
};

// Frame k of the belt described at the top of this file, for a frame of `size`.
QImage beltFrame(QSize size, int code, const QList<QSize>& items, int gap, int step, int k)
{
    const bool horizontal = code == 244 || code == 245;
    const auto extent = [horizontal](QSize item) { return horizontal ? item.width() : item.height(); };
    int group = 0; // the items of one period, without the gap
    for (const QSize& item : items)
        group += extent(item);
    QImage image = solid(size, Qt::transparent);
    QPainter painter(&image);
    const bool forward = code == 245 || code == 247;
    for (int start = forward ? step * k - group : extent(size) - step * k;
         group + gap > 0 && (forward ? start + group > 0 : start < extent(size));
         start += forward ? -(group + gap) : group + gap) {
        for (int i = 0, at = start; i < items.size(); at += extent(items[i++]))
            painter.fillRect(QRect(horizontal ? QPoint(at, 0) : QPoint(0, at), items[i]), kPalette[i]);
    }
    return image;
}

} // namespace

class TestMarquee : public QObject {
    Q_OBJECT
    std::optional<LogCapture> m_log;
private slots:
    void init() { m_log.emplace(); }
    void cleanup() { QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n'))); }

    void belt_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QSize>("display");
        QTest::addColumn<QList<QSize>>("items");
        QTest::addColumn<int>("gap"); // -1: no gap set, one display of space follows the items
        QTest::addColumn<int>("frames");
        QTest::addColumn<QList<QRect>>("fold"); // rectangles the belt is cut into, side by side or stacked
        // One item is copied to display / pitch + 2 more (a gap wider than the item needs them); two
        // become a, b, a, b; more go as they are. None, or items of no extent: nothing shows, and
        // with no gap every width is 0, so each rotation test would hold again at once.
        const QList<QList<QSize>> belts { { { 50, 40 } }, { { 110, 50 }, { 70, 30 } },
            { { 100, 40 }, { 70, 30 }, { 50, 20 } }, {}, { {}, {}, {} } };
        for (int code = 244; code <= 247; ++code) {
            for (const QList<QSize>& items : belts) {
                QList<QSize> along;
                for (const QSize& item : items)
                    along << (code < 246 ? item : item.transposed());
                const int extent = items.size() == 3 ? 150 : 300;
                for (const int gap : { 70, -1 })
                    QTest::addRow("%d, %d items, gap %d", code, int(items.size()), gap)
                        << code << (code < 246 ? QSize(extent, 60) : QSize(60, extent)) << along << gap << 120
                        << QList<QRect>();
            }
        }
        // A belt of 250 x 40: rectangle 0 shows x 0..99, rectangle 1 x 100..249; one of 50 x 180:
        // rectangle 0 shows y 0..79, rectangle 1 y 80..179.
        QTest::newRow("244 folded side by side") << 244 << QSize(400, 200) << QList<QSize> { { 60, 30 } } << 20 << 50
                                                 << QList<QRect> { { 0, 0, 100, 40 }, { 200, 50, 150, 40 } };
        QTest::newRow("246 folded, stacked") << 246 << QSize(400, 200) << QList<QSize> { { 40, 50 } } << 10 << 50
                                             << QList<QRect> { { 0, 0, 50, 80 }, { 100, 10, 50, 100 } };
    }

    void belt()
    {
        QFETCH(int, code);
        QFETCH(QSize, display);
        QFETCH(QList<QSize>, items);
        QFETCH(int, gap);
        QFETCH(int, frames);
        QFETCH(QList<QRect>, fold);
        const bool horizontal = code == 244 || code == 245;
        ns::Fold folding;
        folding.enabled = !fold.isEmpty();
        folding.count = fold.size();
        folding.orientation = ns::EnumOrientation(horizontal ? 0 : 1);
        QSize belt = fold.isEmpty() ? display : QSize(0, 0);
        for (const QRect& r : fold) {
            folding.rects.push_back({ r.x(), r.y(), r.width(), r.height() });
            belt = horizontal ? QSize(belt.width() + r.width(), r.height())
                              : QSize(r.width(), belt.height() + r.height());
        }
        Rig rig(display, code, items, gap, folding);
        // Before playMarquee the belt shows nothing and stands still; it runs until the head has
        // entered and the ring has turned.
        QVERIFY(paintedRegion(rig.frame(code)).isEmpty());
        rig.display->playMarquee();
        const int spacing = gap < 0 ? (horizontal ? belt.width() : belt.height()) : gap;
        for (int k = 0; k < frames; ++k) {
            const QImage expected = beltFrame(belt, code, items, spacing, 10, k);
            QImage cut = solid(display, Qt::transparent);
            QPainter painter(&cut);
            // Folded, the rectangles show consecutive slices of the composed belt, in list order.
            for (int i = 0, at = 0; i < fold.size(); at += horizontal ? fold[i++].width() : fold[i++].height())
                painter.drawImage(fold[i].topLeft(),
                    expected.copy(QRect(horizontal ? QPoint(at, 0) : QPoint(0, at), fold[i].size())));
            painter.end();
            const QImage actual = rig.frame(code);
            const QImage& shown = fold.isEmpty() ? expected : cut;
            if (actual != shown)
                QFAIL(qPrintable(QStringLiteral("frame %1: %2").arg(k).arg(imageDifference(actual, shown))));
        }
        QVERIFY(!items.isEmpty() || paintedRegion(rig.display->grab().toImage()).isEmpty());
    }
};

QTEST_MAIN(TestMarquee)
#include "tst_marquee.moc"
