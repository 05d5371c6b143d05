// PrefixCompletion: how the text of an address or prefix may go on, for those that are in a table: by one number between dots or
// colons at a time, as files are found by folder. It steps over what lies under a number that it has shown, so that a table of a
// million routes takes no longer than a small one.
//
//    10.  with 10.1.0.0/16, 10.1.2.0/24 and 10.7.0.0/16  ->  10.1.  10.7.0.0/16
//
// Tested by tests/tools/rtrie/PrefixCompletionTest.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Types.h"
#include "routetrie/table.h"

namespace Rtrie {

// What a word may be made.
struct CompletedWord {
   std::string text;
   bool isWhole = true;  // false: more is to come, as behind a folder
   bool operator==(const CompletedWord&) const = default;
};

// In the order of addresses, each text once; none if no route's text begins so.
std::vector<CompletedWord> completedPrefixes(std::string_view begin, const routetrie::table<U32>& routes);

}  // namespace Rtrie
