#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ns {

/// How the pieces of a fold lie in the composed frame.
enum EnumOrientation : int32_t {
    ORIENTATION_HORIZONTAL = 0, ///< side by side: widths add up
    ORIENTATION_VERTICAL = 1, ///< stacked: heights add up (any non-zero value stacks)
};

/// One destination rectangle of a fold, in widget coordinates.
struct FoldRect {
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t height = 0;
};

/// Content cut into pieces and shown in several rectangles of the widget.
struct Fold {
    bool enabled = false;
    int32_t count = 1;
    EnumOrientation orientation = ORIENTATION_HORIZONTAL;
    std::vector<FoldRect> rects;
};

/// The description of one media item, filled by the host. Members the players do not
/// read are carried so that a host can round-trip its own data through the record.
struct Widget {
    int32_t id = 0;
    int32_t regionId = 0; // carried
    std::string name; // carried
    bool loop = false; // carried
    int32_t mediaType = 0; ///< 3: animated picture; anything else: still picture
    int32_t duration = 0; ///< ms on screen
    int32_t playCount = 0; // carried
    std::array<int32_t, 4> geometry { { 0, 0, 0, 0 } }; // carried as one block
    int32_t zOrder = 0; // carried
    int32_t effectCode = 0; ///< transition code of EffectDisplay
    int32_t effectTime = 1000; ///< ms of the transition
    int32_t exitEffectCode = 0; // carried
    int32_t exitEffectTime = 1000; // carried
    std::string path; ///< picture file, or the feed link of an RSS item
    std::string fileName; // carried
    std::string fileHash; // carried
    std::string sourceUrl; // carried
    std::string thumbnail; // carried
    std::string extra; // carried
    int64_t fileSize = 0; // carried
    int64_t modifiedTime = 0; // carried
    int32_t volume = 0; // carried
    std::vector<std::pair<std::string, std::string>> attributes; // carried
    std::vector<std::string> tags; // carried
    std::string note; // carried
    std::string jsonText; ///< the type-specific record as JSON text
    Fold fold;
};

} // namespace ns
