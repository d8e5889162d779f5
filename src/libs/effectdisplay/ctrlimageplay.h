#pragma once

#include "effectdisplay_export.h"

#include <mediarecords.h>
#include <richtextrecords.h>

#include <QImage>
#include <QList>
#include <QPixmap>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWidget>

class EffectDisplay;
class FoldTextPlay;
class QLabel;
class QTimerEvent;

/// Puts finished image files on the screen, one file per slotAppend call, in order: pages
/// through an EffectDisplay (PAGE_SWITCH, STATIC_PAGE), or an endless belt of labels moving in
/// one of four directions (SCROLL). Producers are the text player and the office player. All
/// operations run on the GUI thread.
class EFFECTDISPLAY_EXPORT ImagePlayCtrl : public QWidget {
    Q_OBJECT
public:
    /// Takes the size of `parent`, which must not be null, and shows itself.
    explicit ImagePlayCtrl(QWidget* parent);
    ~ImagePlayCtrl() override;

    /// Copies the display style and creates the children of its mode.
    void initImagePlay(const ns::DisplayStyle& style, ns::VAlignment v, ns::HAlignment h);
    /// Window size used by the scroll arithmetic, in pixels; touches no widget.
    void initWindowSize(int w, int h);
    void setTaskID(const QString& taskID);
    /// Time the whole text has, in ms: a sync scroll pass, a sync page round, a static page.
    void setDuration(int duration);
    /// Timer interval in ms; a running timer keeps its interval.
    void setSpeed(int speed);
    /// Scale decoded scroll images to the widget's size.
    void setNeedResize(bool needResize);
    /// Remove the image files when the control is destroyed.
    void setDeletePic(bool deletePic);
    void setbkColor(QString color);
    /// Sync mode: nothing shows before the last image, and a scroll pass lasts the duration.
    void setTextSyncWithMusic(bool sync);
    void setFoldParaMeters(ns::Fold fold);
    /// Interval and step that make a path of `pix` pixels take `duration` ms.
    void calSyncSpeed(int duration, int pix);
    /// Rewrites the image file `name` to the fold's height, placed by `v`.
    void drawPixmapToFoldSize(QString name, ns::VAlignment v);

    void pause();
    void resume();
    /// Does nothing: the display loops until the owner destroys it.
    void stop();
    /// Frees the display children; with setDeletePic(true) removes the files off the GUI thread.
    void destory();

    // Read-only views for tools and tests.
    int speed() const { return m_speed; }
    int pix() const { return m_pix; }
    int gap() const { return m_gap; }
    int effectTime() const { return m_effectTime; }
    int currentIndex() const { return m_index; }
    QStringList imageNames() const { return m_listImageName; }
    QList<QLabel*> labels() const { return m_listLabel; }
    EffectDisplay* effectDisplay() const { return m_pEffectDisplay; }

signals:
    /// A display path has started, or the last image's file was missing.
    void signalsImageReady();

public slots:
    /// Hands over one image file (full path); `bCreatImageStatus` marks the last one.
    void slotAppend(QString imagename, bool bCreatImageStatus);

private slots:
    void slotCreatImageEnd(bool isEnd);
    void slotMoveUp();
    void slotMoveDown();
    void slotMoveLeft();
    void slotMoveRight();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    Q_DISABLE_COPY(ImagePlayCtrl)

    int calFoldLocal(int n);
    QSize calFoldPixmapSize();
    int calScrollSpeed(bool speedIsPixels, int speed);
    int initImagePos(ns::VAlignment v, int length);
    int initMarqueePos(ns::VAlignment v, int height);

    // The sync QTimer and the QObject timer id of a scroll direction; both null for no direction.
    struct ScrollTimer {
        QTimer* timer = nullptr;
        int* id = nullptr;
    };
    ScrollTimer scrollTimerOf(int moveType);
    void killRunningTimer(int& id);
    void restartTimer(int& id);

    // The fold rewrite of one file: drawPixmapToFoldSize without the open check.
    void rewriteToFoldSize(const QString& name, ns::VAlignment v);
    void onImageInitOk();

    // Pages.
    void startPageSwitch();
    void startPageSwitchSync();
    void startStaticPage();
    void startStaticPageSync();
    void showPage(const QString& name);
    void pageTick();
    void staticTick();

    // Scroll.
    void appendScroll(bool bCreatImageStatus);
    void appendScrollSync();
    void appendFoldScroll(bool bCreatImageStatus);
    bool prepareScroll(bool sync);
    int gapFor(bool sync) const;
    void startBelt();
    void layoutOneImage();
    void layoutTwoImages();
    void layoutManyImages();
    void joinThirdImage();
    void startScrollTimer();
    // Positions along the belt's axis: x for a horizontal scroll, y for a vertical one.
    int beltStart(const QLabel* label);
    int along(const QLabel* label) const;
    int extent(const QLabel* label) const;
    void moveAlong(QLabel* label, int position);
    void showImage(QLabel* label, int index);
    void tick(ns::MoveType direction);

    QString m_bkColor;
    QString m_taskID;
    QTimer m_timerUp;
    QTimer m_timerDown;
    QTimer m_timerLeft;
    QTimer m_timerRight;
    QList<QRect> m_listFoldRect;
    QLabel* m_pLabelFirst = nullptr;
    QLabel* m_pLabelSecond = nullptr;
    QLabel* m_pLabelThird = nullptr;
    QList<QLabel*> m_listLabel;
    QStringList m_listImageName;
    int m_effect = 0;
    int m_effectTime = 1000;
    int m_iTimerScrllImageUp = 0;
    int m_iTimerScrllImageDown = 0;
    int m_iTimerPageSwitch = 0;
    int m_iTimerScrllImageRight = 0;
    int m_iTimerScrllImageLeft = 0;
    int m_iTimerStaticPage = 0;
    int m_duration = 10000;
    int m_speed = 20;
    int m_index = 0;
    int m_width = 0;
    int m_height = 0;
    int m_gap = 0;
    EffectDisplay* m_pEffectDisplay = nullptr;
    FoldTextPlay* m_pFoldTextPlay = nullptr;
    bool m_isEnd = false;
    ns::VAlignment m_vAlignment = ns::ALIGN_VCENTER;
    ns::HAlignment m_hAlignment = ns::ALIGN_HCENTER;
    int m_marqueeY = 0;
    int m_pix = 0;
    ns::DisplayStyle m_displayStyle;
    QList<QPixmap> m_listPixmap;
    ns::Fold m_fold;
    bool m_textSyncWithMusic = false;
    QImage m_image;
    bool m_deletePic = false;
    bool m_needResize = false;
    bool m_waitFirstShow = true;
    // Images the belt was laid out with (at most three); 0 while it collects. A belt starts once.
    int m_beltImages = 0;
};
