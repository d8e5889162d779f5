#pragma once

#include "effectdisplay_export.h"

#include <imediaplay.h>
#include <picturegrouprecords.h>

#include <QString>
#include <QWidget>

#include <functional>
#include <memory>

class ImagePlayCtrl;

/// The player of office documents whose pages are already picture files: it feeds the page paths
/// to an ImagePlayCtrl, which pages or scrolls them. All operations run on the GUI thread.
class EFFECTDISPLAY_EXPORT OfficePlay : public QWidget, public IMediaPlay {
    Q_OBJECT
public:
    /// `parent` must be sized already: the player takes its size as a fixed size and shows itself.
    explicit OfficePlay(QWidget* parent);
    ~OfficePlay() override;

    /// Reads the page list from `jsonText`, builds the display and starts feeding it the pages.
    int iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback) override;
    /// Sends MediaReady at once, on every call.
    int iPlay() override;
    void iPause() override;
    /// Does nothing: the pages stay on screen until iDestory or deletion.
    void iStop() override;
    int iResume() override;
    /// Stops the feeder and deletes the display; safe to call more than once.
    void iDestory() override;

signals:
    /// Part of the player's interface; never emitted.
    void signalsImageReady();
    /// One page for the display, emitted on the GUI thread, in list order; `isLast` marks the final page.
    void ImageValueChanged(QString name, bool isLast);

private slots:
    void slotShow();

private:
    Q_DISABLE_COPY(OfficePlay)

    struct Feed;
    static void feedPages(const std::shared_ptr<Feed>& feed);
    void stopFeeder();

    int m_duration = 10000;
    // The next page and the running flag, with what the detached feeder needs besides; shared with
    // it so that it never reaches into this object.
    std::shared_ptr<Feed> m_feed;
    std::function<void(EnumMediaStatus)> m_callback;
    ns::PictureGroupMediaData m_group;
    ImagePlayCtrl* m_pImagePlayCtrl = nullptr;
};
