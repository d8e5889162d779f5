#pragma once

#include <imediaplay.h>

#include <QString>
#include <QStringList>
#include <QWidget>

#include <functional>
#include <string>

class EffectDisplay;

/// Item kind of the picture marquee in playlists and the player factory.
inline const QString kPictureMarqueeKind = QStringLiteral("picture-marquee");

/// What the `jsonText` of a picture-marquee item holds.
struct PictureMarqueeSettings {
    static constexpr int kFirstCode = 244; ///< marqueeRightToLeft
    static constexpr int kLastCode = 247; ///< marqueeToBottom
    static constexpr int kMaxIntervalMs = 60000;
    static constexpr int kMaxPixels = 16384; ///< larger steps or gaps are taken for typing errors

    QStringList pictures; ///< files, in ring order; the playlist reader makes relative ones absolute
    int code = kFirstCode;
    int interval = 20; ///< ms between frames
    int step = 2; ///< pixels per frame
    int gap = 0; ///< pixels behind each picture, when useGap is set
    bool useGap = false; ///< without it the gap is the display's extent: one picture in view at a time
};

/// Reads the `jsonText` of a picture-marquee item into `settings`. False, with what is wrong in
/// `error`, when the text is not JSON or a key has the wrong type or an absurd value. Never throws.
bool readPictureMarqueeSettings(const std::string& jsonText, PictureMarqueeSettings& settings, QString* error);

/// The host's player of a picture marquee: an endless ring of pictures at their own size that
/// runs across the region in one of the four marquee directions of EffectDisplay (codes 244 to
/// 247), honouring the item's fold. Once started it runs until the player is deleted; pause
/// and resume do not stop it. Runs on the GUI thread.
class PictureMarquee : public QWidget, public IMediaPlay {
    Q_OBJECT
public:
    /// `parent` must be sized already: the player takes its size.
    explicit PictureMarquee(QWidget* parent);
    ~PictureMarquee() override;

    /// Reads the settings from `widget.jsonText` and starts the ring. Bad settings, or no picture
    /// that loads, are logged and show nothing; MediaReady follows once the event loop has turned
    /// in every case.
    int iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback) override;
    int iPlay() override;
    void iPause() override;
    void iStop() override;
    int iResume() override;
    void iDestory() override;

    /// The display that runs the ring; null when nothing is shown.
    EffectDisplay* display() const { return m_display; }

private:
    Q_DISABLE_COPY(PictureMarquee)

    void start(const ns::Widget& widget);

    std::function<void(EnumMediaStatus)> m_callback;
    EffectDisplay* m_display = nullptr;
};
