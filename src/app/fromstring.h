#pragma once

#include "effectdisplay_export.h"

#include <picturegrouprecords.h>
#include <richtextrecords.h>
#include <rssrecords.h>

#include <string>

// Guarded JSON readers: a text that does not parse, or does not fit the record, is logged
// twice at error level ("from_string: exception: {}" with the text, then with the reason)
// and leaves the record as it was. They never throw.
EFFECTDISPLAY_EXPORT void from_string(const std::string& text, ns::PictureGroupMediaData& data);
EFFECTDISPLAY_EXPORT void from_string(const std::string& text, ns::RichTextInfo& info);
EFFECTDISPLAY_EXPORT void from_string(const std::string& text, ns::RSSMetaData& meta);
