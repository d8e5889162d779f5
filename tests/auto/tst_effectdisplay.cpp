// The display around the transitions: the clock that drives them and its lifetime while the clock
// runs. The frames themselves are in tst_effects, pause and resume in tst_effectinfo.
#include "framecheck.h"
#include "testpictures.h"

#include <effectdisplay.h>

#include <QtTest>

using namespace testpictures;

namespace {

constexpr int kTickMs = 10;
const QRect kPicture(0, 0, 199, 99); // in a 200 x 100 display

// Bounding box of what a viewer would see (alpha above zero).
QRect paintedRect(QWidget* widget)
{
    return framecheck::paintedRegion(widget->grab().toImage()).boundingRect();
}

int threadCount()
{
    return int(QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

// Ticks may come late on a busy machine; a clock that falls short never gets there at all.
int clockTimeoutMs(int effectMs)
{
    return 20 * effectMs + 5000;
}

} // namespace

class TestEffectDisplay : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_picture = savePng(quadrants(400, 200), m_dir.path(), "quadrants.png");
    }
    void init()
    {
        m_parent = std::make_unique<QWidget>();
        m_parent->resize(200, 100);
        m_display = new EffectDisplay(m_parent.get());
        m_timer = m_display->findChild<QTimer*>("frameTimer");
        // Repaints reach only a shown widget, and the end of a transition is seen by a repaint.
        m_parent->show();
        // The first load lets Qt start the helper threads it starts lazily, so they are not counted.
        m_display->showEffect(0, m_picture, 0, 0);
        m_threads = threadCount();
    }
    void cleanup() { m_parent.reset(); }
    void clock_data();
    void clock();

private:
    QTemporaryDir m_dir;
    QString m_picture;
    std::unique_ptr<QWidget> m_parent;
    EffectDisplay* m_display = nullptr;
    QTimer* m_timer = nullptr;
    int m_threads = 0;
};

void TestEffectDisplay::clock_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("effectTime");
    QTest::addColumn<int>("duration");
    QTest::addColumn<int>("clocks");

    // Effect times that are no multiple of the tick: the last tick must still be counted.
    QTest::newRow("extendLeft 5 ms") << 16 << 5 << 5000 << 1;
    QTest::newRow("extendLeft 333 ms") << 16 << 333 << 333 << 1;
    QTest::newRow("effect time cut to a 155 ms duration") << 16 << 60000 << 155 << 1;
    QTest::newRow("noEffect runs no clock") << 0 << 333 << 333 << 0;
}

void TestEffectDisplay::clock()
{
    QFETCH(int, code);
    QFETCH(int, effectTime);
    QFETCH(int, duration);
    QFETCH(int, clocks);

    QSignalSpy initOk(m_display, &EffectDisplay::signalsImageInitOk);
    m_display->showEffect(code, m_picture, effectTime, duration);
    QCOMPARE(initOk.count(), 1);
    QCOMPARE(m_display->currentEffect(), code);
    QCOMPARE(threadCount(), m_threads + clocks);
    QVERIFY(m_timer->isActive());
    QCOMPARE(m_timer->interval(), kTickMs);

    // The clock reaches the effect time: the end frame shows and the repaints stop.
    QTRY_VERIFY_WITH_TIMEOUT(!m_timer->isActive(), clockTimeoutMs(std::min(effectTime, duration)));
    QCOMPARE(paintedRect(m_display), kPicture);
    QTRY_COMPARE(threadCount(), m_threads);

    // A new start goes back to the beginning; deleting the display stops and joins its clock.
    m_display->showEffect(16, m_picture, 3600000, 3600000);
    m_display->showEffect(16, m_picture, 3600000, 3600000);
    QCOMPARE(threadCount(), m_threads + 1);
    QVERIFY(paintedRect(m_display).width() < 50);
    QVERIFY(m_timer->isActive());
    delete m_display;
    QCOMPARE(threadCount(), m_threads);
}

QTEST_MAIN(TestEffectDisplay)
#include "tst_effectdisplay.moc"
