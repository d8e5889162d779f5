#pragma once

#include "effectdisplay_export.h"

#include <mediarecords.h>
#include <richtextrecords.h>

#include <QImage>
#include <QList>
#include <QPainter>
#include <QPixmap>
#include <QRect>
#include <QSize>
#include <QThread>
#include <QWidget>

#include <atomic>

/// The frame maker of a folded scroll. It keeps the images of a text on a virtual strip as long
/// as the fold's rectangles together, moves them a fixed step per frame as an endless belt and
/// cuts each frame into the rectangles. A QWidget by inheritance only: it is never shown and all
/// its drawing goes to off-screen pixmaps.
///
/// The setters and initPlay() run on the GUI thread before the worker starts; from then on only
/// the worker calls startPlay(), and no lock guards the members.
class EFFECTDISPLAY_EXPORT DrawFoldImage : public QWidget {
    Q_OBJECT
public:
    /// Takes the size of `parent`, which must not be null, as the strip size.
    explicit DrawFoldImage(QWidget* parent);
    ~DrawFoldImage() override;

    /// Copies the fold; with it enabled the strip is the rectangles laid side by side
    /// (orientation 0) or stacked (any other orientation).
    void setFoldParaMeters(ns::Fold fold);
    /// Direction of travel; with `useGap` false the gap between rounds is one strip length.
    void setMarqueeParaMeters(ns::MoveType moveType, bool useGap, int gap);
    /// `step` pixels per frame; `interval` is kept for the owner's timer.
    void setMarqueeSpeed(int interval, int step);
    /// The frame area; frames come out at its size.
    void setSrcRect(QRect rect);
    void appendImage(QImage& image);
    /// Lays the images out on the belt. Call once, after the images.
    void initPlay();
    /// Makes one frame and emits it with signalsAppendImage.
    void startPlay();
    /// Does nothing: the worker's loop is what stops.
    void stopPlay();

    // Read-only views for tools and tests.
    QSize foldSize() const { return m_foldSize; }
    int offset() const { return m_offset; }
    int gap() const { return m_gap; }
    int step() const { return m_step; }
    int listShape() const { return m_listShape; }
    QList<int> lengths() const { return m_ListLen; }
    int imageCount() const { return int(m_ListPix.size()); }
    /// Frames made so far. Read with acquire order before touching a frame from another thread:
    /// it makes the hand-over visible to ThreadSanitizer, which cannot see Qt's own locks.
    int framesMade() const { return m_framesMade.load(std::memory_order_acquire); }
    /// Where rectangle `index` begins on the strip; -1 outside 0 to the number of rectangles.
    int foldLocal(int index) const { return calFoldLocal(index); }

signals:
    /// One finished frame; emitted on the worker, so it reaches GUI receivers queued.
    void signalsAppendImage(QPixmap frame);
    void signalsTimeout();

public slots:
    void slotTimeout();

private:
    Q_DISABLE_COPY(DrawFoldImage)

    int calFoldLocal(int index) const;
    static int calListWidth(int n, const QList<int>& list);
    // The length of an image or a size along the direction of travel.
    int lengthOf(const QSize& size) const;
    bool horizontal() const;

    // The belt toward negative coordinates (left, up) and toward positive ones (right, down).
    void drawFoldImageToLeft();
    void drawFoldImageToUp();
    void drawFoldImageToRight();
    void drawFoldImageToDown();
    void drawForward(bool alongX);
    void drawBackward(bool alongX);
    QPixmap drawFoldPixmap();

    QPainter m_stripPainter;
    QPixmap m_strip;
    QPainter m_foldPainter;
    QPixmap m_foldPixmap;
    ns::MoveType m_moveType = ns::MoveType(0);
    // The first image's length is all that is read of it.
    QSize m_firstImageSize;
    // Only the size of the first image scaled to the strip is used: the strip's own size.
    QSize m_refSize;
    QList<QRect> m_listFoldRect;
    QList<QPixmap> m_ListPix;
    ns::Fold m_fold;
    QSize m_foldSize;
    int m_offset = 0;
    int m_interval = 0;
    int m_step = 0;
    QList<int> m_ListLen;
    int m_listShape = 0;
    bool m_useGap = false;
    int m_gap = 0;
    QRect m_srcRect;
    // Rectangles the frame is cut into: the fold's count, held to the rectangles there are.
    int m_pieces = 0;
    std::atomic<int> m_framesMade { 0 };
};

/// Calls DrawFoldImage::startPlay in a tight loop until told to stop; the consumer sets the pace
/// by stopping and restarting it.
class EFFECTDISPLAY_EXPORT FoldImageThread : public QThread {
    Q_OBJECT
public:
    FoldImageThread() = default;

    void setDrawFoldImage(DrawFoldImage* drawFoldImage) { m_pDrawFoldImage = drawFoldImage; }
    /// Ends the loop after the frame in hand; a later start() runs it again.
    void setStop() { m_running = false; }
    /// Ends the loop for good, even if the stop comes before run() has begun.
    void setRetired() { m_retired = true; }
    /// Deletes the frame maker. Only once the thread has finished.
    void releaseDrawFoldImage();
    /// Waits until the loop has ended; like wait(), with the end made visible to ThreadSanitizer.
    void waitForLoopEnd();

signals:
    void signalsAppendImage(QImage image);

protected:
    void run() override;

private:
    Q_DISABLE_COPY(FoldImageThread)

    DrawFoldImage* m_pDrawFoldImage = nullptr;
    // Written on the GUI thread, read by the loop.
    std::atomic<bool> m_running { false };
    std::atomic<bool> m_retired { false };
    std::atomic<int> m_loopEnds { 0 };
};
