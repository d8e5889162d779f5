#pragma once

#include <imediaplay.h>

#include <QImage>
#include <QString>
#include <QWidget>

#include <functional>

class FoldTextPlay;
struct Playlist;

/// Item kind of the fold test strip in playlists and the player factory.
inline const QString kFoldPatternKind = QStringLiteral("fold-pattern");

/// A test strip for whoever wires a folded wall: numbered arrows pointing the way of travel and a
/// ruler in pixels, `length` long along the travel of `moveType` and `breadth` across it.
QImage drawFoldPattern(int length, int breadth, int moveType);

/// Replaces every folded item of `playlist` with the fold test strip; returns how many it replaced.
int useFoldPattern(Playlist& playlist);

/// Runs the fold test strip across the rectangles of the item's fold, in the direction its text
/// would scroll (left for anything but a scrolling text), through the same folded player that
/// folded texts use. MediaReady follows once the event loop has turned.
class FoldPattern : public QWidget, public IMediaPlay {
    Q_OBJECT
public:
    explicit FoldPattern(QWidget* parent);
    ~FoldPattern() override;

    int iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback) override;
    int iPlay() override;
    void iPause() override;
    void iStop() override;
    int iResume() override;
    void iDestory() override;

private:
    Q_DISABLE_COPY(FoldPattern)

    std::function<void(EnumMediaStatus)> m_callback;
    FoldTextPlay* m_play = nullptr;
    bool m_started = false;
};
