// WatchFormat: the forms in which `watch` prints what an update changed, of the routes themselves or of the answers to watched
// queries.
//
// Tested by tests/tools/rtrie/WatchTest.cpp.
#pragma once

#include <span>
#include <string_view>

#include "tools/rtrie/ChangeFormat.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/WatchedTable.h"

namespace Rtrie {

struct WatchFormat {
   std::string_view name;
   std::string_view summary;
   void (*begin)(bool isOfMatches, Output& output);
   void (*print)(const Effect& effect, Output& output);
   void (*printMatch)(const MatchChange& change, Output& output);
};

std::span<const WatchFormat> watchFormats();

}  // namespace Rtrie
