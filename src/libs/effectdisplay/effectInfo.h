#pragma once

#include "effectdisplay_export.h"

#include <imediaplay.h>

#include <QWidget>

#include <functional>

class EffectDisplay;

/// The player of still and animated pictures: one picture through one timed transition.
/// All operations run on the GUI thread.
class EFFECTDISPLAY_EXPORT EffectInfo : public QWidget, public IMediaPlay {
    Q_OBJECT
public:
    /// `parent` must be sized already: the player takes its size.
    explicit EffectInfo(QWidget* parent);
    ~EffectInfo() override;

    /// Starts the picture at once; MediaReady follows once the event loop has turned.
    int iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback) override;
    int iPlay() override;
    void iPause() override;
    void iStop() override;
    int iResume() override;
    void iDestory() override;

private:
    Q_DISABLE_COPY(EffectInfo)

    std::function<void(EnumMediaStatus)> m_callback;
    EffectDisplay* m_pEffectDisplay = nullptr;
};
