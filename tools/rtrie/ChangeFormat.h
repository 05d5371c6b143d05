// ChangeFormat: how the change of a route is printed; what `watch` and `diff` have in common.
//
// Tested by tests/tools/rtrie/WatchTest.cpp and tests/tools/rtrie/DiffTest.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Rows.h"

namespace Rtrie {

// What happened to the route of a prefix. Only the first three are changes.
enum class ChangeKind : U8 { add, replace, remove, same, absent };
std::string_view nameOf(ChangeKind kind);  // "delete" for remove

// Payloads of the route that answers, before and after; none if there was or is none.
struct Effect {
   ChangeKind kind;
   Corenet::IpGenPrefix prefix;
   std::optional<std::string> before;
   std::optional<std::string> after;
};

// change, prefix, old, new
void printChangeNames(RowForm form, Output& output);
void printChangeRow(const Effect& effect, RowForm form, Output& output);
void printChangeJson(const Effect& effect, Output& output);

}  // namespace Rtrie
