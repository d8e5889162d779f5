#pragma once

#include "richtextplay.h"

#include <mediarecords.h>
#include <richtextrecords.h>

#include <QString>
#include <QThread>
#include <QWidget>

#include <memory>
#include <vector>

class ImagePlayCtrl;

/// Renders the images of one text on a worker thread. It runs no event loop: a render ends when
/// the renderer returns, early through stop().
class ImageThread : public QThread {
    Q_OBJECT
public:
    ImageThread();
    ~ImageThread() override;

    /// Asks the render to end at its next check; callable from any thread.
    void stop();

    RichTextPlay m_richTextPlay;
    int m_imageWidth = 0;
    int m_imageHeight = 0;
    ns::RichTextInfo m_richTextInfo;

protected:
    void run() override;

private:
    Q_DISABLE_COPY(ImageThread)
};

/// The text player's orchestrator: replays the cached images of a task, or renders them on an
/// ImageThread, and hands each file to its ImagePlayCtrl. GUI thread only.
class ImagePlay : public QWidget {
    Q_OBJECT
public:
    /// Takes the size of `parent` as a fixed size.
    explicit ImagePlay(QWidget* parent);
    ~ImagePlay() override;

    void setRichTextInfo(const ns::RichTextInfo& richTextInfo);
    /// The text's duration in ms.
    void setDuration(int duration);
    void setFoldParaMeters(ns::Fold fold);
    void setTaskID(const QString& taskID);
    /// Shows the text: replays its cached files, or starts rendering them.
    void play();
    void pause();
    void resume();
    /// Frees the control and asks a running render to stop; never waits for it.
    void destory();

    /// Height of the tallest line of the whole text, in pixels: the height of a ticker's band.
    int calMaxLineHeight();
    /// Height of the tallest run of `line`.
    int calLineHeight(const std::vector<ns::TextRun>& line);
    /// The window, or the composed size of the fold rectangles.
    QSize calFoldPixmapSize() const;

    /// Stops every render still running and waits for it; for the end of the program.
    static void stopAllThreads();

signals:
    /// The control has started showing, or its last file was missing.
    void signalsImageReady();

private slots:
    void slotsImageCreateOk(QString name, bool status);

private:
    Q_DISABLE_COPY(ImagePlay)

    void stopThread();

    ns::RichTextInfo m_RichTextInfo;
    int m_width = 0;
    int m_height = 0;
    int m_letterSpacing = 0;
    std::shared_ptr<ImageThread> m_pImageThread;
    ImagePlayCtrl* m_pImagePlayCtrl = nullptr;
    int m_duration = 10000;
    ns::Fold m_fold;
    QString m_taskID;
};
