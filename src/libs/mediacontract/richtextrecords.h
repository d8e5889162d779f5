#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace ns {

/// Display mode of a text (DisplayStyle::type).
enum DisplayType : int32_t {
    PAGE_SWITCH = 0,
    SCROLL = 1,
    STATIC_PAGE = 2,
};

/// Direction of a scroll; only these four values are valid.
enum MoveType : int32_t {
    MOVE_LEFT = 2,
    MOVE_RIGHT = 3,
    MOVE_DOWN = 4,
    MOVE_UP = 5,
};

enum VAlignment : int32_t {
    ALIGN_TOP = 0,
    ALIGN_VCENTER = 1,
    ALIGN_BOTTOM = 2,
};

enum HAlignment : int32_t {
    ALIGN_LEFT = 0,
    ALIGN_HCENTER = 1,
    ALIGN_RIGHT = 2,
};

/// Values of TextStyle::fontStyle; any other value leaves weight and slant alone.
enum FontStyle : int32_t {
    FONT_BOLD = 0,
    FONT_REGULAR = 1,
    FONT_ITALIC = 2,
    FONT_BOLD_ITALIC = 3,
};

struct ScrollEffecs {
    int32_t speed = 3; ///< level 1..10, or pixels per second with speedIsPixels
    MoveType moveType = MOVE_LEFT;
};

struct ScrollAttributes {
    ScrollEffecs effecs;
    std::string gapText; ///< decimal pixels between two rounds, read only with useGap
    bool useGap = false;
    bool speedIsPixels = false;
};

struct DisplayStyle {
    int32_t type = SCROLL; ///< a DisplayType value
    bool styleFlag = false;
    int32_t pageEffect = 0;
    int32_t pageEffectDuration = 1000; ///< ms
    int32_t pageStayTime = 10000; ///< ms
    ScrollAttributes scrollAttributes;
    int32_t posX = 0;
    int32_t posY = 0;
};

struct TextStyle {
    std::string bkColor = "#00000000";
    std::string textColor = "#ffffff";
    std::vector<std::string> fontFamilies { "Arial" };
    int32_t fontStyle = FONT_REGULAR;
    int32_t pixelSize = 16;
    bool underline = false;
    bool styleFlag1 = false;
    int32_t styleNumber1 = 0;
    int32_t styleNumber2 = 2;
    int32_t styleNumber3 = 2;
    std::string styleText1;
    bool styleFlag2 = false;
    int32_t styleNumber4 = 2;
    std::string styleText2;
    int32_t styleNumber5 = 1;
    std::string styleText3;
    std::vector<std::string> styleList;
    std::string styleText4;
    std::string styleText5;
};

struct TextAttribute {
    std::array<TextStyle, 3> auxStyles {};
    int32_t id = 0;
    TextStyle style;
};

struct TextRun {
    int32_t attributeId = 0;
    std::string text;
};

struct Paragraph {
    VAlignment vAlignment = ALIGN_VCENTER;
    HAlignment hAlignment = ALIGN_HCENTER;
    std::string bkColor = "#000000FF";
    float lineSpacing = 0.0f;
    int32_t letterSpacing = 0;
    std::vector<std::vector<TextRun>> lines;
};

struct RichTextContent {
    DisplayStyle displayStyle;
    std::vector<TextAttribute> textAttributes;
    bool keepFlag = false;
    std::vector<Paragraph> paragraphs;
    bool textSyncWithMusic = false;
    int32_t contentTag = 0;
};

/// Everything a text widget shows and how.
struct RichTextInfo {
    std::string label;
    RichTextContent content;
};

/// True when the text is drawn as one single-line band (a left or right scroll).
inline bool isMarquee(const DisplayStyle& style)
{
    return style.type == SCROLL
        && (style.scrollAttributes.effecs.moveType == MOVE_LEFT
            || style.scrollAttributes.effecs.moveType == MOVE_RIGHT);
}

} // namespace ns
