#pragma once

#include "effectdisplay_export.h"

#include <mediarecords.h>

#include <QImage>
#include <QList>
#include <QPixmap>
#include <QRect>
#include <QSize>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <atomic>
#include <functional>
#include <thread>

class QLabel;
class QMovie;
class QPainter;
class QPolygonF;

/// Shows one picture through one of the timed transitions picked by an effect code, or an
/// animated picture without one. Each frame is painted afresh from a single progress value
/// p in [0, 1]: a clock thread counts milliseconds and a 10 ms timer only asks for repaints.
/// Everything but the clock runs on the GUI thread.
class EFFECTDISPLAY_EXPORT EffectDisplay : public QWidget {
    Q_OBJECT
public:
    /// Takes the size of `parent`, which must not be null.
    explicit EffectDisplay(QWidget* parent);
    ~EffectDisplay() override;

    /// Keeps a copy of the item and takes its picture, fold, effect code and time.
    void initInterface(const ns::Widget& widget);
    /// Starts the transition, or the movie of an animated picture (mediaType 3).
    void playInterface();
    /// Stops repaints (the clock goes on), or pauses the movie.
    void pauseInterface();
    void resumeInterface();
    /// Loads `path` and runs effect `code` for the smaller of `effectTime` and `duration` ms.
    void showEffect(int code, QString path, long effectTime, long duration);

    void setFoldParaMeters(ns::Fold fold);
    /// Adds an item to the marquee ring.
    void appendPixmap(QPixmap pixmap);
    void setPlayMarquee(bool on);
    /// Marquee repaint interval in ms and movement per frame in pixels.
    void setMarqueeSpeed(int interval, int step);
    void setMarqueeParaMeters(bool useGap, int gap);
    /// Lets the marquee functions draw from the next frame on.
    void playMarquee();

    /// Paints effect `code` at progress `progress` with the loaded picture into an image of
    /// the widget's size, without clock or timers: a seam for tests and tools. The image is
    /// transparent where the effect paints nothing.
    QImage renderFrame(int code, float progress);
    /// The same into an existing image of any size (the fold cut and full-widget draws still use the
    /// widget's geometry); nothing is cleared first.
    void renderFrame(QImage& target, int code, float progress);

    /// The code in force: the requested one, or the one that code 1 picked.
    int currentEffect() const { return m_effect; }

    /// Effect codes that the random code 1 chooses from, in table order.
    static const QList<int>& randomEffectCodes();
    /// The name of the function that paints `code`, or an empty string for codes that paint nothing.
    static QString effectName(int code);

signals:
    /// Emitted at the end of every still-picture start.
    void signalsImageInitOk();

private slots:
    void playEffects();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Q_DISABLE_COPY(EffectDisplay)

    using EffectFunction = void (EffectDisplay::*)(QPainter*);
    struct EffectEntry {
        int code;
        const char* name;
        EffectFunction function;
    };
    // The code table; codes missing from it paint nothing.
    static const EffectEntry* findEffect(int code);

    void initParameter();
    void testThread(int effectTime);
    void paintEffect(QPainter* painter);

    // Fold wrapper: `draw` paints on the widget's painter, or into a transparent image of the
    // picture's size that is then cut into the fold rectangles.
    void drawThroughFold(QPainter* painter, const std::function<void(QPainter*)>& draw);
    // The one draw of the extend, move and indent families.
    void drawPixmapInto(QPainter* painter, int x, int y, int w, int h);

    int calFoldLocal(int index);
    int calListWidth(int count, QList<int>& list);
    int calPixListWidth(int count, QList<QPixmap> list);
    int calPixListHeight(int count, QList<QPixmap> list);
    void drawFoldImage(QPainter* painter, QImage& image, ns::EnumOrientation orientation, int count);
    void drawFoldPixmap(QPainter* painter, QPixmap& pixmap, ns::EnumOrientation orientation, int count);

    void noEffect(QPainter* painter);

    void extendLeft(QPainter* painter);
    void entendTop(QPainter* painter);
    void entendRight(QPainter* painter);
    void extendBottom(QPainter* painter);
    void extendCenter(QPainter* painter);
    void extendLevel(QPainter* painter);
    void extendVertical(QPainter* painter);
    void moveLeft(QPainter* painter);
    void moveTop(QPainter* painter);
    void moveRight(QPainter* painter);
    void moveBottom(QPainter* painter);
    void indentLeft(QPainter* painter);
    void indentTop(QPainter* painter);
    void indentRight(QPainter* painter);
    void indentBottom(QPainter* painter);
    void indentToCenter(QPainter* painter);
    void indentBothSides(QPainter* painter);

    // The polygon effects fill with the picture as a brush, so a polygon is a window onto the
    // picture lying at its place.
    void setPictureBrush(QPainter* painter);
    void fillPolygon(QPainter* painter, const QPolygonF& polygon);

    void fadeIn(QPainter* painter);
    void fadeOut(QPainter* painter);
    void zoomFullScreen(QPainter* painter);
    void wheelRotate(QPainter* painter);
    void dentine(QPainter* painter);

    // Cumulate and laser share their arithmetic; `factor` is how far the rest is smeared.
    enum class Edge { Left, Top, Right, Bottom };
    void cumulate(QPainter* painter, Edge edge, int factor, bool polygonFirst);
    void cumulateLeft(QPainter* painter);
    void cumulateTop(QPainter* painter);
    void cumulateRight(QPainter* painter);
    void cumulateBottom(QPainter* painter);
    void laserLeft(QPainter* painter);
    void laserTop(QPainter* painter);
    void laserRight(QPainter* painter);
    void laserBottom(QPainter* painter);

    void reelTop(QPainter* painter);
    void reelBottom(QPainter* painter);
    void windowBottom(QPainter* painter);
    void windowRight(QPainter* painter);
    void openToBottom(QPainter* painter);
    void openToTop(QPainter* painter);
    void openToBothSide(QPainter* painter);
    void openToCenter(QPainter* painter);

    // The picture ring: items at their own size run along one axis, backward (toward smaller
    // coordinates) or forward.
    void marquee(QPainter* painter, bool horizontal, bool forward);
    void marqueeRightToLeft(QPainter* painter);
    void marqueeLeftToRight(QPainter* painter);
    void marqueeToUp(QPainter* painter);
    void marqueeToBottom(QPainter* painter);

    qint64 m_effectTime = 0;
    int m_requestedEffect = 0;
    std::atomic<bool> m_clockRunning { true };
    int m_effect = 0;

    int m_marqueeListState = 0;
    bool m_marqueeUseGap = false;
    int m_marqueeGap = 0;
    bool m_marqueeStarted = false;
    bool m_marqueeFirstFrame = true;
    bool m_playMarquee = false;
    int m_marqueeOffset = 0;
    int m_marqueeInterval = 0;
    int m_marqueeStep = 0;

    float m_progress = 1.0f;
    int m_reelThickness = 0;
    std::atomic<int> m_elapsed { 0 };
    QTimer m_marqueeTimer { this }; // children, so that tools can find them by name
    QList<int> m_widthList;
    ns::Fold m_fold;
    QList<QPixmap> m_pixmapList;
    QList<QRect> m_ListRect;
    QSize m_imageSize;
    QPixmap m_pixmap;
    QImage m_image;
    QTimer m_frameTimer { this };
    QString m_path;
    ns::Widget m_widget;
    QLabel* m_label = nullptr;
    QMovie* m_movie = nullptr;
    std::thread* m_clockThread = nullptr;

    // Where the fold cut lands: the widget, or the image of renderFrame.
    QPaintDevice* m_foldTarget = this;
};
