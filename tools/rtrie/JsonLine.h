// JsonLine: one object a line, which is how every command prints records as JSON.
//
// Tested by tests/tools/rtrie/OutputTest.cpp.
#pragma once

#include <nlohmann/json.hpp>

#include <string_view>

#include "tools/rtrie/Output.h"

namespace Rtrie {

// Keys stay in the order in which they are given.
using Json = nlohmann::ordered_json;

// A text of a table may be any bytes; what is no UTF-8 becomes U+FFFD.
inline void jsonLine(Output& output, const Json& object) {
   output.text(object.dump(-1, ' ', false, Json::error_handler_t::replace));
   output.text("\n");
   output.lineDone();
}

// Empty texts as null.
inline Json textOrNull(std::string_view text) { return text.empty() ? Json() : Json(text); }

}  // namespace Rtrie
