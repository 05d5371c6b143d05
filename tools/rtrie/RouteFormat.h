// RouteFormat: how a list of routes is printed, by name; what `walk` and `aggregate` have in common.
//
// Tested by tests/tools/rtrie/WalkTest.cpp.
#pragma once

#include <span>
#include <string_view>

#include "routetrie/platform/Corenet.h"
#include "tools/rtrie/Output.h"

namespace Rtrie {

struct RouteFormat {
   std::string_view name;
   std::string_view summary;
   void (*begin)(Output& output);
   void (*route)(const Corenet::IpGenPrefix& route, std::string_view payload, Output& output);
};

// The first is the default.
std::span<const RouteFormat> routeFormats();

}  // namespace Rtrie
