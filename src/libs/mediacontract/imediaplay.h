#pragma once

#include "mediarecords.h"

#include <cstdint>
#include <functional>

/// Status a player reports to its host through the callback given to iInit.
enum EnumMediaStatus : int32_t {
    MediaReady = 1, ///< the item has reached the point where it shows
};

/// The interface a playback host drives every player through, on the GUI thread.
/// The order of the virtual operations is part of the binary interface: do not reorder.
class IMediaPlay {
public:
    virtual ~IMediaPlay() = default;
    /// Initialise once with the item's description; the callback receives MediaReady.
    virtual int iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback) = 0;
    /// Start playback; required after iInit. Returns 0.
    virtual int iPlay() = 0;
    virtual void iPause() = 0;
    virtual void iStop() = 0;
    /// Returns 0.
    virtual int iResume() = 0;
    /// Release everything the player holds; safe to call twice.
    virtual void iDestory() = 0;
};
