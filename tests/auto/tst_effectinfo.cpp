#include "logcapture.h"
#include "testpictures.h"

#include <effectInfo.h>
#include <effectdisplay.h>
#include <gifwriter.h>

#include <QLabel>
#include <QMovie>
#include <QPainter>
#include <QPointer>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

using namespace testpictures;

namespace {

struct StatusRecorder {
    QList<EnumMediaStatus> received;
    std::function<void(EnumMediaStatus)> callback()
    {
        return [this](EnumMediaStatus status) { received << status; };
    }
};

QList<QImage> spinnerFrames(int count)
{
    QList<QImage> frames;
    for (int i = 0; i < count; ++i) {
        QImage frame(40, 30, QImage::Format_ARGB32);
        frame.fill(Qt::transparent);
        QPainter painter(&frame);
        painter.fillRect(i * 5, 5, 10, 20, QColor::fromHsv(i * 40 % 360, 255, 255));
        frames << frame;
    }
    return frames;
}

} // namespace

class TestEffectInfo : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void takesParentSize();
    void statusOnceAfterLoopTurns_data();
    void statusOnceAfterLoopTurns();
    void noStatusWhenDeletedFirst();
    void inertOperations();
    void effectTimeCutToDuration();
    void animatedPicture();

private:
    ns::Widget pictureWidget(int effectCode) const;

    QTemporaryDir m_dir;
    QString m_picture;
    std::unique_ptr<QWidget> m_parent;
    std::unique_ptr<LogCapture> m_log;
};

void TestEffectInfo::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_picture = savePng(quadrants(160, 90), m_dir.path(), "picture.png");
}

void TestEffectInfo::init()
{
    m_log = std::make_unique<LogCapture>();
    m_parent = std::make_unique<QWidget>();
    m_parent->resize(320, 180);
}

void TestEffectInfo::cleanup()
{
    m_parent.reset();
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

ns::Widget TestEffectInfo::pictureWidget(int effectCode) const
{
    ns::Widget widget;
    widget.id = 12;
    widget.mediaType = 1;
    widget.duration = 3000;
    widget.effectCode = effectCode;
    widget.effectTime = 200;
    widget.path = m_picture.toStdString();
    return widget;
}

void TestEffectInfo::takesParentSize()
{
    auto* player = new EffectInfo(m_parent.get());
    QCOMPARE(player->size(), QSize(320, 180));
    auto* display = player->findChild<EffectDisplay*>();
    QVERIFY(display);
    QCOMPARE(display->size(), QSize(320, 180));
    QVERIFY(player->testAttribute(Qt::WA_TranslucentBackground));
}

void TestEffectInfo::statusOnceAfterLoopTurns_data()
{
    QTest::addColumn<int>("mediaType");
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("effectCode");

    QTest::newRow("still picture") << 1 << "picture.png" << 16;
    QTest::newRow("no effect") << 0 << "picture.png" << 0;
    QTest::newRow("missing file") << 1 << "nowhere.png" << 16;
    QTest::newRow("empty path") << 0 << "" << 0;
    QTest::newRow("corrupt file") << 1 << "corrupt.png" << 32;
    QTest::newRow("unknown code") << 1 << "picture.png" << 7;
    QTest::newRow("animated, missing") << 3 << "nowhere.gif" << 0;
}

void TestEffectInfo::statusOnceAfterLoopTurns()
{
    QFETCH(int, mediaType);
    QFETCH(QString, path);
    QFETCH(int, effectCode);

    QFile corrupt(m_dir.filePath("corrupt.png"));
    QVERIFY(corrupt.open(QIODevice::WriteOnly));
    corrupt.write("\x89PNG\r\n\x1a\n garbage");
    corrupt.close();

    auto* player = new EffectInfo(m_parent.get());
    ns::Widget widget = pictureWidget(effectCode);
    widget.mediaType = mediaType;
    widget.path = path.isEmpty() ? std::string() : m_dir.filePath(path).toStdString();
    StatusRecorder status;
    QCOMPARE(player->iInit(widget, status.callback()), 0);
    QCOMPARE(player->iPlay(), 0);
    // Not from inside iInit: only once the event loop has turned.
    QVERIFY(status.received.isEmpty());
    QTRY_COMPARE(status.received.size(), 1);
    QCOMPARE(status.received.first(), MediaReady);
    QCoreApplication::processEvents();
    QCOMPARE(status.received.size(), 1);
}

void TestEffectInfo::noStatusWhenDeletedFirst()
{
    StatusRecorder status;
    {
        EffectInfo player(m_parent.get());
        player.iInit(pictureWidget(16), status.callback());
        player.iDestory();
    }
    QVERIFY(m_log->contains("EffectInfo::~EffectInfo begin"));
    QVERIFY(m_log->contains("EffectInfo::~EffectInfo end"));
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    QVERIFY(status.received.isEmpty());
}

void TestEffectInfo::inertOperations()
{
    auto* player = new EffectInfo(m_parent.get());
    StatusRecorder status;
    player->iInit(pictureWidget(0), status.callback());
    QTRY_COMPARE(status.received.size(), 1);
    const QImage before = player->grab().toImage();

    // iPlay and iStop leave what is on screen as it is; iDestory twice is harmless.
    QCOMPARE(player->iPlay(), 0);
    player->iStop();
    player->iDestory();
    player->iDestory();
    QCOMPARE(player->grab().toImage(), before);
    QCOMPARE(status.received.size(), 1);
}

void TestEffectInfo::effectTimeCutToDuration()
{
    m_parent->show();
    auto* player = new EffectInfo(m_parent.get());
    player->show();
    ns::Widget widget = pictureWidget(16);
    widget.effectTime = 60000;
    widget.duration = 150;
    StatusRecorder status;
    player->iInit(widget, status.callback());
    auto* timer = player->findChild<QTimer*>("frameTimer");
    QVERIFY(timer);
    QVERIFY(timer->isActive());
    QTRY_VERIFY_WITH_TIMEOUT(!timer->isActive(), 10000);
}

void TestEffectInfo::animatedPicture()
{
    const QString gif = m_dir.filePath("spinner.gif");
    QVERIFY(writeAnimatedGif(gif, spinnerFrames(6), 50));

    auto* player = new EffectInfo(m_parent.get());
    ns::Widget widget = pictureWidget(16);
    widget.mediaType = 3;
    widget.path = gif.toStdString();
    StatusRecorder status;
    player->iInit(widget, status.callback());
    QTRY_COMPARE(status.received.size(), 1);

    auto* label = player->findChild<QLabel*>();
    QVERIFY(label);
    QMovie* movie = label->movie();
    QVERIFY(movie);
    QVERIFY(movie->isValid());
    QCOMPARE(movie->frameCount(), 6);
    QCOMPARE(label->size(), QSize(320, 180));
    QCOMPARE(movie->scaledSize(), QSize(320, 180));
    QCOMPARE(movie->state(), QMovie::Running);
    // The movie advances on its own.
    const int firstFrame = movie->currentFrameNumber();
    QTRY_VERIFY(movie->currentFrameNumber() != firstFrame);

    // No transition on this path: the repaint timer never starts; pause and resume act on the movie.
    auto* timer = player->findChild<QTimer*>("frameTimer");
    QVERIFY(!timer->isActive());
    player->iPause();
    QCOMPARE(movie->state(), QMovie::Paused);
    QVERIFY(!timer->isActive());
    QCOMPARE(player->iResume(), 0);
    QCOMPARE(movie->state(), QMovie::Running);
    QVERIFY(!timer->isActive());
}

QTEST_MAIN(TestEffectInfo)
#include "tst_effectinfo.moc"
