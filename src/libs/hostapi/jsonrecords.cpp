#include "jsonrecords.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

namespace ns {
namespace {

using json = nlohmann::json;

constexpr std::size_t kRectNumbers = 4;
// nlohmann's ids for a wrong type, a wrong array size and a number out of range.
constexpr int kTypeError = 302;
constexpr int kSizeError = 401;
constexpr int kRangeError = 406;

[[noreturn]] void throwType(const json& v, const std::string& expected)
{
    // type_name() calls 2.5 just "number", which reads oddly next to "must be integer number".
    const std::string actual = v.is_number_float() ? "floating-point number" : v.type_name();
    throw json::type_error::create(kTypeError, "type must be " + expected + ", but is " + actual, &v);
}

void requireObject(const json& v)
{
    // find() on anything but an object finds nothing, which would silently read as "all keys absent".
    if (!v.is_object())
        throwType(v, "object");
}

// nlohmann turns true into 1 and truncates 2.5 to 2 when asked for an int; a host that
// writes either has made a mistake we want to hear about.
template <class T> void readValue(const json& v, T& out)
{
    if constexpr (std::is_same_v<T, float>) {
        if (!v.is_number())
            throwType(v, "number");
        out = v.get<float>();
    } else if constexpr (std::is_enum_v<T> || (std::is_integral_v<T> && !std::is_same_v<T, bool>)) {
        using Int = typename std::conditional_t<std::is_enum_v<T>, std::underlying_type<T>, std::common_type<T>>::type;
        if (!v.is_number_integer())
            throwType(v, "integer number");
        const bool fits = v.is_number_unsigned()
            ? v.get<std::uint64_t>() <= std::uint64_t(std::numeric_limits<Int>::max())
            : v.get<std::int64_t>() >= std::int64_t(std::numeric_limits<Int>::min())
                && v.get<std::int64_t>() <= std::int64_t(std::numeric_limits<Int>::max());
        if (!fits)
            throw json::out_of_range::create(kRangeError, "number " + v.dump() + " does not fit the field", &v);
        out = static_cast<T>(v.get<std::int64_t>());
    } else {
        // Records go through their from_json into the existing value, so their absent keys
        // keep what they held; strings, bools and lists are checked by nlohmann itself.
        v.get_to(out);
    }
}

// Rectangles are written as [x, y, width, height]: compact in playlists with many folds.
void readValue(const json& v, std::array<int32_t, kRectNumbers>& out)
{
    if (!v.is_array())
        throwType(v, "array [x, y, width, height]");
    if (v.size() != kRectNumbers)
        throw json::out_of_range::create(kSizeError,
            "rectangle must hold 4 numbers [x, y, width, height], but holds " + std::to_string(v.size()), &v);
    std::array<int32_t, kRectNumbers> read {};
    for (std::size_t i = 0; i < kRectNumbers; ++i)
        readValue(v[i], read[i]);
    out = read;
}

void readValue(const json& v, std::array<TextStyle, 3>& out)
{
    if (!v.is_array())
        throwType(v, "array of at most 3 styles");
    if (v.size() > out.size())
        throw json::out_of_range::create(
            kSizeError, "auxStyles holds at most 3 styles, but holds " + std::to_string(v.size()), &v);
    // Entries left out keep their styles, like absent keys do.
    for (std::size_t i = 0; i < v.size(); ++i)
        from_json(v[i], out[i]);
}

// The reason stays nlohmann's; the key path in front tells the host where to look.
std::string keyed(const char* key, const json::exception& e)
{
    std::string reason = e.what();
    const auto head = reason.find("] ");
    if (head != std::string::npos)
        reason.erase(0, head + 2);
    const std::string marker = "at ";
    if (reason.compare(0, marker.size(), marker) == 0)
        return marker + key + "." + reason.substr(marker.size());
    return marker + key + ": " + reason;
}

template <class T> void readKey(const json& j, const char* key, T& out)
{
    const auto it = j.find(key);
    if (it == j.end())
        return;
    try {
        readValue(*it, out);
    } catch (const json::type_error& e) {
        throw json::type_error::create(e.id, keyed(key, e), nullptr);
    } catch (const json::out_of_range& e) {
        throw json::out_of_range::create(e.id, keyed(key, e), nullptr);
    }
}

} // namespace

void from_json(const json& j, FoldRect& rect)
{
    std::array<int32_t, kRectNumbers> numbers {};
    readValue(j, numbers);
    rect = FoldRect { numbers[0], numbers[1], numbers[2], numbers[3] };
}

void from_json(const json& j, Fold& fold)
{
    requireObject(j);
    readKey(j, "enabled", fold.enabled);
    readKey(j, "count", fold.count);
    readKey(j, "orientation", fold.orientation);
    readKey(j, "rects", fold.rects);
}

void from_json(const json& j, Widget& widget)
{
    requireObject(j);
    readKey(j, "id", widget.id);
    readKey(j, "regionId", widget.regionId);
    readKey(j, "name", widget.name);
    readKey(j, "loop", widget.loop);
    readKey(j, "mediaType", widget.mediaType);
    readKey(j, "duration", widget.duration);
    readKey(j, "playCount", widget.playCount);
    readKey(j, "geometry", widget.geometry);
    readKey(j, "zOrder", widget.zOrder);
    readKey(j, "effectCode", widget.effectCode);
    readKey(j, "effectTime", widget.effectTime);
    readKey(j, "exitEffectCode", widget.exitEffectCode);
    readKey(j, "exitEffectTime", widget.exitEffectTime);
    readKey(j, "path", widget.path);
    readKey(j, "fileName", widget.fileName);
    readKey(j, "fileHash", widget.fileHash);
    readKey(j, "sourceUrl", widget.sourceUrl);
    readKey(j, "thumbnail", widget.thumbnail);
    readKey(j, "extra", widget.extra);
    readKey(j, "fileSize", widget.fileSize);
    readKey(j, "modifiedTime", widget.modifiedTime);
    readKey(j, "volume", widget.volume);
    readKey(j, "attributes", widget.attributes);
    readKey(j, "tags", widget.tags);
    readKey(j, "note", widget.note);
    if (const auto it = j.find("jsonText"); it != j.end()) {
        // A playlist may embed the item's record instead of quoting it; players take text.
        if (it->is_structured())
            widget.jsonText = it->dump();
        else
            readKey(j, "jsonText", widget.jsonText);
    }
    readKey(j, "fold", widget.fold);
}

void from_json(const json& j, ScrollEffecs& effecs)
{
    requireObject(j);
    readKey(j, "speed", effecs.speed);
    readKey(j, "moveType", effecs.moveType);
}

void from_json(const json& j, ScrollAttributes& attributes)
{
    requireObject(j);
    readKey(j, "effecs", attributes.effecs);
    readKey(j, "gapText", attributes.gapText);
    readKey(j, "useGap", attributes.useGap);
    readKey(j, "speedIsPixels", attributes.speedIsPixels);
}

void from_json(const json& j, DisplayStyle& style)
{
    requireObject(j);
    readKey(j, "type", style.type);
    readKey(j, "styleFlag", style.styleFlag);
    readKey(j, "pageEffect", style.pageEffect);
    readKey(j, "pageEffectDuration", style.pageEffectDuration);
    readKey(j, "pageStayTime", style.pageStayTime);
    readKey(j, "scrollAttributes", style.scrollAttributes);
    readKey(j, "posX", style.posX);
    readKey(j, "posY", style.posY);
}

void from_json(const json& j, TextStyle& style)
{
    requireObject(j);
    readKey(j, "bkColor", style.bkColor);
    readKey(j, "textColor", style.textColor);
    readKey(j, "fontFamilies", style.fontFamilies);
    readKey(j, "fontStyle", style.fontStyle);
    readKey(j, "pixelSize", style.pixelSize);
    readKey(j, "underline", style.underline);
    readKey(j, "styleFlag1", style.styleFlag1);
    readKey(j, "styleNumber1", style.styleNumber1);
    readKey(j, "styleNumber2", style.styleNumber2);
    readKey(j, "styleNumber3", style.styleNumber3);
    readKey(j, "styleText1", style.styleText1);
    readKey(j, "styleFlag2", style.styleFlag2);
    readKey(j, "styleNumber4", style.styleNumber4);
    readKey(j, "styleText2", style.styleText2);
    readKey(j, "styleNumber5", style.styleNumber5);
    readKey(j, "styleText3", style.styleText3);
    readKey(j, "styleList", style.styleList);
    readKey(j, "styleText4", style.styleText4);
    readKey(j, "styleText5", style.styleText5);
}

void from_json(const json& j, TextAttribute& attribute)
{
    requireObject(j);
    readKey(j, "auxStyles", attribute.auxStyles);
    readKey(j, "id", attribute.id);
    readKey(j, "style", attribute.style);
}

void from_json(const json& j, TextRun& run)
{
    requireObject(j);
    readKey(j, "attributeId", run.attributeId);
    readKey(j, "text", run.text);
}

void from_json(const json& j, Paragraph& paragraph)
{
    requireObject(j);
    readKey(j, "vAlignment", paragraph.vAlignment);
    readKey(j, "hAlignment", paragraph.hAlignment);
    readKey(j, "bkColor", paragraph.bkColor);
    readKey(j, "lineSpacing", paragraph.lineSpacing);
    readKey(j, "letterSpacing", paragraph.letterSpacing);
    readKey(j, "lines", paragraph.lines);
}

void from_json(const json& j, RichTextContent& content)
{
    requireObject(j);
    readKey(j, "displayStyle", content.displayStyle);
    readKey(j, "textAttributes", content.textAttributes);
    readKey(j, "keepFlag", content.keepFlag);
    readKey(j, "paragraphs", content.paragraphs);
    readKey(j, "textSyncWithMusic", content.textSyncWithMusic);
    readKey(j, "contentTag", content.contentTag);
}

void from_json(const json& j, RichTextInfo& info)
{
    requireObject(j);
    readKey(j, "label", info.label);
    readKey(j, "content", info.content);
}

void from_json(const json& j, RSSMetaData& meta)
{
    requireObject(j);
    readKey(j, "updatePeriod", meta.updatePeriod);
    readKey(j, "showTitle", meta.showTitle);
    readKey(j, "showPubDate", meta.showPubDate);
    readKey(j, "showDescription", meta.showDescription);
    readKey(j, "feedFlag", meta.feedFlag);
    readKey(j, "textAttribute", meta.textAttribute);
    readKey(j, "displayStyle", meta.displayStyle);
}

void from_json(const json& j, PictureGroupItem& item)
{
    requireObject(j);
    readKey(j, "pageId", item.pageId);
    readKey(j, "path", item.path);
    readKey(j, "name", item.name);
    readKey(j, "pageNumber", item.pageNumber);
    readKey(j, "stayTime", item.stayTime);
    readKey(j, "effectCode", item.effectCode);
    readKey(j, "effectTime", item.effectTime);
}

void from_json(const json& j, PictureStyleGroup& group)
{
    requireObject(j);
    readKey(j, "speed", group.speed);
    readKey(j, "moveType", group.moveType);
    readKey(j, "gapText", group.gapText);
    readKey(j, "useGap", group.useGap);
    readKey(j, "speedIsPixels", group.speedIsPixels);
    readKey(j, "type", group.type);
}

void from_json(const json& j, PictureGroupMediaData& data)
{
    requireObject(j);
    readKey(j, "pictures", data.pictures);
    readKey(j, "displayStyle", data.displayStyle);
    readKey(j, "styleGroup", data.styleGroup);
}

} // namespace ns
