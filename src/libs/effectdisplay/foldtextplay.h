#pragma once

#include "effectdisplay_export.h"

#include <mediarecords.h>
#include <richtextrecords.h>

#include <QList>
#include <QOpenGLWidget>
#include <QPixmap>
#include <QString>
#include <QTimer>

class DrawFoldImage;
class FoldImageThread;

/// Shows a folded scroll: one frame per tick of its timer, from a list of frames that a
/// FoldImageThread fills ahead. The list's level steers the worker: it stops above 40 frames and
/// starts again below 31; nothing is painted before 31 frames are held, and painting pauses at 10
/// or fewer. An OpenGL widget, so the host needs an OpenGL context (Mesa's software renderer
/// will do). All operations run on the GUI thread.
class EFFECTDISPLAY_EXPORT FoldTextPlay : public QOpenGLWidget {
    Q_OBJECT
public:
    /// Takes the size of `parent`, which must not be null.
    explicit FoldTextPlay(QWidget* parent);
    /// Stops nothing by itself: call stopPlay() first.
    ~FoldTextPlay() override;

    void setBKColor(const QString& color);
    void setFoldParaMeters(ns::Fold fold);
    void setMarqueeParaMeters(ns::MoveType moveType, bool useGap, int gap);
    /// A frame every `interval` ms, moved `step` pixels.
    void setMarqueeSpeed(int interval, int step);
    void appendPixmap(QPixmap pixmap);
    /// Lays out the images and starts the worker and the frame timer. The text is not read.
    void startPlay(const QString& name);
    /// Ends the show without waiting for the worker: a worker in the middle of a frame finishes
    /// it on its own and is deleted, with its frame maker, once it has. A stopped player does not
    /// start again.
    void stopPlay();

    // Read-only views for tools and tests.
    int frameCount() const { return int(m_listFrame.size()); }
    /// True while the worker is making frames.
    bool isProducing() const;
    DrawFoldImage* drawFoldImage() const { return m_pDrawFoldImage; }
    int interval() const { return m_interval; }

signals:
    void signalsImageInitOk();

protected:
    void paintGL() override;

private slots:
    void slotAppendImage(QPixmap frame);
    void slotTimeout();

private:
    Q_DISABLE_COPY(FoldTextPlay)

    QString m_bkColor;
    FoldImageThread* m_pFoldImageThread = nullptr;
    bool m_waitFirstFill = true;
    QList<QPixmap> m_listFrame;
    DrawFoldImage* m_pDrawFoldImage = nullptr;
    bool m_useGap = false;
    int m_gap = 0;
    int m_interval = 0;
    int m_step = 0;
    ns::Fold m_fold;
    QTimer m_frameTimer;
};
