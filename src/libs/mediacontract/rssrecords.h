#pragma once

#include "richtextrecords.h"

#include <cstdint>

namespace ns {

/// Feed settings of an RSS item, read from the item's JSON text.
struct RSSMetaData {
    int32_t updatePeriod = 0; ///< ms between renewals; 0 stands for 60000
    bool showTitle = false;
    bool showPubDate = false;
    bool showDescription = false;
    bool feedFlag = false;
    TextAttribute textAttribute; ///< auxStyles: 0 titles, 1 dates, 2 descriptions
    DisplayStyle displayStyle;
};

} // namespace ns
