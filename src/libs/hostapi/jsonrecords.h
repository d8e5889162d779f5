#pragma once

#include "hostapi_export.h"

#include <imediaplay.h>
#include <picturegrouprecords.h>
#include <richtextrecords.h>
#include <rssrecords.h>

#include <nlohmann/json_fwd.hpp>

// Readers of the records' JSON forms. Keys are the member names; a key that is absent keeps
// the member's current value, so reading into a default record keeps the defaults. A value
// of the wrong JSON type throws nlohmann::json::type_error.
namespace ns {

HOSTAPI_EXPORT void from_json(const nlohmann::json& j, FoldRect& rect);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, Fold& fold);
/// `jsonText` may be a string or an embedded object or array, which is kept as its JSON text.
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, Widget& widget);

HOSTAPI_EXPORT void from_json(const nlohmann::json& j, ScrollEffecs& effecs);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, ScrollAttributes& attributes);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, DisplayStyle& style);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, TextStyle& style);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, TextAttribute& attribute);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, TextRun& run);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, Paragraph& paragraph);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, RichTextContent& content);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, RichTextInfo& info);

HOSTAPI_EXPORT void from_json(const nlohmann::json& j, RSSMetaData& meta);

HOSTAPI_EXPORT void from_json(const nlohmann::json& j, PictureGroupItem& item);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, PictureStyleGroup& group);
HOSTAPI_EXPORT void from_json(const nlohmann::json& j, PictureGroupMediaData& data);

} // namespace ns
