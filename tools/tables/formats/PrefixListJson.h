// PrefixListJson: what `bgpq4 -j` prints, and any array of prefixes:
//
//    {"NN": [{"prefix": "192.0.2.0/24", "exact": true},
//            {"prefix": "198.51.100.0/24", "exact": false, "less-equal": 25}]}     payload: NN le 25
//    ["10.0.0.0/8", "2001:db8::/32"]
//
// The payload is the list's name, and the lengths that it takes beside the prefix's own.
// Tested by tests/tools/tables/FormatFixturesTest.cpp.
#pragma once

#include "tools/tables/TableFormat.h"

namespace Rtrie {

class PrefixListJson final : public EntryParser {
  public:
   static bool hasEntry(const JsonEntry& entry);
   void entry(const JsonEntry& entry, RouteSet& routes) override;
};

}  // namespace Rtrie
