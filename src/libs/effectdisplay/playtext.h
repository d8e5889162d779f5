#pragma once

#include "effectdisplay_export.h"

#include <imediaplay.h>
#include <richtextrecords.h>

#include <QString>
#include <QWidget>

#include <functional>

class ImagePlay;

/// The player of rich text: renders the text of the item's JSON record to image files on a
/// worker thread (once per task; later plays replay the files) and pages or scrolls them.
/// MediaReady is sent when the first image is ready. All operations run on the GUI thread.
class EFFECTDISPLAY_EXPORT playtext : public QWidget, public IMediaPlay {
    Q_OBJECT
public:
    /// `parent` must be sized already: the player takes its size as a fixed size.
    explicit playtext(QWidget* parent);
    ~playtext() override;

    /// Reads the rich text record from `widget.jsonText` and starts it.
    int iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback) override;
    /// Does nothing: the text has started in iInit.
    int iPlay() override;
    void iPause() override;
    /// Does nothing: the text stays on screen until the player is destroyed.
    void iStop() override;
    int iResume() override;
    /// Stops a render in progress without waiting for it and frees the display; safe twice.
    void iDestory() override;

    /// Starts a text; for owners that build the record themselves. Called once per object.
    void play(ns::RichTextInfo& richTextInfo);
    /// The text's duration in ms: a static page's period, a sync pass or page round.
    void setDuration(long duration);
    /// Key of the image cache; a key holding "LUMORAX" is cached across plays.
    void setTaskID(const QString& taskID);

signals:
    /// The text is ready: its first image shows, or it has nothing to show.
    void playTextReady();

private slots:
    void slotAcceptImage();

private:
    Q_DISABLE_COPY(playtext)

    QString m_bkColor = QStringLiteral("#00000000");
    long m_duration = 10000;
    ns::Fold m_fold;
    QString m_taskID;
    ns::RichTextInfo m_richTextInfo;
    std::function<void(EnumMediaStatus)> m_callback;
    ImagePlay* m_pImagePlay = nullptr;
};
