// JsonReader: the entries of JSON documents, one at a time, however long the document is. An entry is what stands in the
// outermost array, with the names that lead to it:
//
//    [{"dst": "10.0.0.0/8"}, ...]                       no names
//    {"10.0.0.0/8": [{"protocol": "static"}], ...}      "10.0.0.0/8"
//    {"red": {"10.0.0.0/8": [{...}]}}                   "red", "10.0.0.0/8"
//
// Several documents may follow each other. Memory is bounded by the longest entry that is taken. Where a document has a fault, what
// stands before it was handed out.
// Tested by tests/tools/tables/MoreFormatsTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "routetrie/platform/Types.h"
#include "tools/tables/ByteSource.h"

namespace Rtrie {

struct JsonValue {
   enum class Kind : U8 { null, boolean, number, string, array, object };

   Kind kind = Kind::null;
   std::string text;                // of a string, or of a number or "true" or "false" as it is spelled
   std::vector<JsonValue> values;   // of an array or an object
   std::vector<std::string> names;  // of the values of an object

   // The value of that name; null if there is none.
   const JsonValue* at(std::string_view name) const;
   // The text of a string, a number or a boolean of that name; empty if there is none.
   std::string_view textAt(std::string_view name) const;
   bool isTrueAt(std::string_view name) const { return textAt(name) == "true"; }
};

struct JsonEntry {
   std::vector<std::string> path;
   JsonValue value;
};

struct JsonLimits {
   std::uint64_t entryBytes = std::uint64_t{1} << 20;
   std::size_t depth = 32;
};

// Whether a file that starts with these bytes is JSON that may have entries.
bool isJson(std::string_view firstBytes);

// Calls each() for each entry, and tell() for what is wrong with the documents: "line 3, column 5: ...". Raises what the
// source raises, and what each() does.
void readJson(ByteSource& source, const std::function<void(const JsonEntry& entry)>& each,
              const std::function<void(const std::string& what)>& tell, JsonLimits limits = {});

}  // namespace Rtrie
