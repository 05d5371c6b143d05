// ReportPage: what a table holds, as one page of HTML that needs nothing else: no script, no server, no font, no picture from
// elsewhere, and a policy in its head that forbids them should a text from a table ever become markup.
//
// It is read on a phone, on light paper and dark, on real paper, and by those who hear it: landmarks, headings in order, tables
// with captions and scopes, and in words what the pictures show.
// Tested by tests/tools/rtrie/report/ReportCommandTest.cpp, and in a browser by tests/tools/report-in-browser.sh.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/rtrie/ChangeFormat.h"
#include "tools/rtrie/map/SpaceMap.h"
#include "tools/rtrie/report/TableFacts.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {

struct FamilyReport {
   TableFacts facts;
   std::uint64_t bytes = 0;             // of the table in memory
   std::optional<SpaceMap> map;         // by length
   std::optional<SpaceMap> difference;  // where there is another table
};

struct DifferenceReport {
   std::string against;  // the other table's name
   std::uint64_t added = 0;
   std::uint64_t removed = 0;
   std::uint64_t replaced = 0;
   std::uint64_t same = 0;
   std::vector<Effect> first;  // of the differences, in order
};

struct Report {
   std::string title;
   std::vector<std::string> tables;  // as they are named in messages
   LoadReport load;
   std::string time;     // "2026-11-22T08:00:00Z"
   std::string version;  // of the program
   std::vector<FamilyReport> families;
   std::optional<DifferenceReport> difference;
};

std::string reportPage(const Report& report);

}  // namespace Rtrie
