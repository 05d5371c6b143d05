// ManPage: a manual as a page for man(1), in the macros of man(7).
//
// Tested by tests/tools/rtrie/ManualTest.cpp, and by house.manual with the programs that read such pages.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/rtrie/manual/Manual.h"

namespace Rtrie {

struct ManPageOf {
   std::string_view version;
   std::string_view date;            // YYYY-MM-DD
   std::vector<std::string> others;  // names of pages of section 1, for SEE ALSO
};

// "rtrie-lookup" of the manual of `rtrie lookup`.
std::string pageName(const Manual& manual);

std::string manPage(const Manual& manual, const ManPageOf& page);

}  // namespace Rtrie
