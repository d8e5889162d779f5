// The picture player as a host drives it: the status it reports once the event loop has turned, the
// item's times reaching the display, pause and resume of a transition and of an animated picture.
#include "testpictures.h"

#include <effectInfo.h>
#include <effectdisplay.h>
#include <gifwriter.h>

#include <QLabel>
#include <QMovie>
#include <QtTest>

class TestEffectInfo : public QObject {
    Q_OBJECT
private slots:
    void play_data()
    {
        QTest::addColumn<int>("mediaType");
        QTest::addColumn<QString>("path"); // empty: the player is deleted before the loop turns
        QTest::newRow("still picture") << 1 << "picture.png";
        QTest::newRow("animated picture") << 3 << "spinner.gif";
        QTest::newRow("deleted first") << 1 << "";
    }

    void play()
    {
        QFETCH(int, mediaType);
        QFETCH(QString, path);
        QTemporaryDir dir;
        QList<QImage> frames { QImage(40, 30, QImage::Format_ARGB32), QImage(40, 30, QImage::Format_ARGB32) };
        frames[0].fill(Qt::red);
        frames[1].fill(Qt::blue);
        QVERIFY(writeAnimatedGif(dir.filePath("spinner.gif"), frames, 50));
        QVERIFY(testpictures::quadrants(160, 90).save(dir.filePath("picture.png")));
        QWidget parent;
        parent.resize(320, 180);
        parent.show();
        auto* player = new EffectInfo(&parent);
        player->show();
        QCOMPARE(player->findChild<EffectDisplay*>()->size(), parent.size());

        ns::Widget widget;
        widget.mediaType = mediaType;
        widget.duration = 155;
        widget.effectCode = 16;
        widget.effectTime = 60000; // the duration cuts it: a minute would keep the repaints going a minute
        widget.path = dir.filePath(path.isEmpty() ? "picture.png" : path).toStdString();
        QList<EnumMediaStatus> status;
        QCOMPARE(player->iInit(widget, [&status](EnumMediaStatus s) { status << s; }), 0);
        QCOMPARE(player->iPlay(), 0);
        QVERIFY(status.isEmpty());
        if (path.isEmpty()) {
            delete player;
            QCoreApplication::processEvents();
            QCoreApplication::processEvents();
            QVERIFY(status.isEmpty());
            return;
        }
        auto* timer = player->findChild<QTimer*>("frameTimer");
        auto* label = player->findChild<QLabel*>();
        QCOMPARE(label != nullptr, mediaType == 3);
        QCOMPARE(timer->isActive(), mediaType != 3);
        player->iPause();
        QVERIFY(!timer->isActive() && (!label || label->movie()->state() == QMovie::Paused));
        QCOMPARE(player->iResume(), 0);
        QCOMPARE(timer->isActive(), mediaType != 3);
        QVERIFY(!label || label->movie()->state() == QMovie::Running);
        QTRY_COMPARE(status, QList<EnumMediaStatus> { MediaReady });
        QTRY_VERIFY_WITH_TIMEOUT(!timer->isActive(), 20 * 155 + 5000);
        QCOMPARE(status.size(), 1);
    }
};

QTEST_MAIN(TestEffectInfo)
#include "tst_effectinfo.moc"
