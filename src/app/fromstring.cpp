#include "fromstring.h"

#include <jsonrecords.h>
#include <spdlogger.h>

#include <nlohmann/json.hpp>

#include <exception>
#include <utility>

namespace {

// Reads into a copy so that a text which fails halfway leaves the caller's record whole.
template <class Record> void readGuarded(const std::string& text, Record& record)
{
    try {
        Record read = record;
        ns::from_json(nlohmann::json::parse(text), read);
        record = std::move(read);
    } catch (const std::exception& e) {
        PLAYER_LOG(error, "from_string: exception: {}", text);
        PLAYER_LOG(error, "from_string: exception: {}", e.what());
    }
}

} // namespace

void from_string(const std::string& text, ns::PictureGroupMediaData& data)
{
    readGuarded(text, data);
}

void from_string(const std::string& text, ns::RichTextInfo& info)
{
    readGuarded(text, info);
}

void from_string(const std::string& text, ns::RSSMetaData& meta)
{
    readGuarded(text, meta);
}
