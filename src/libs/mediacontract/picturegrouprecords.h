#pragma once

#include "richtextrecords.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ns {

/// One page of an office document, already rendered to a picture file.
struct PictureGroupItem {
    int64_t pageId = 0; // carried
    std::string path;
    std::string name; // carried
    int32_t pageNumber = 0; // carried
    int32_t stayTime = 10000; ///< ms
    int32_t effectCode = 0;
    int32_t effectTime = 1000; ///< ms
};

/// Scroll and display settings shared by all pages of a group.
struct PictureStyleGroup {
    int32_t speed = 3;
    MoveType moveType = MOVE_LEFT;
    std::string gapText;
    bool useGap = false;
    bool speedIsPixels = false;
    int32_t type = PAGE_SWITCH;
};

/// What an office item's JSON text holds.
struct PictureGroupMediaData {
    std::vector<PictureGroupItem> pictures;
    DisplayStyle displayStyle;
    PictureStyleGroup styleGroup;
};

} // namespace ns
