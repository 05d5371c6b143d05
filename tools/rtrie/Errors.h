// Errors: the three ways in which a run of rtrie can go wrong, and the exit status of each.
//
//    BadText     one line or one query cannot be read; the run goes on and ends with badData, or with nothingUsable
//                if nothing was left to answer
//    DataError   the run cannot go on: no such file, a truncated one, an empty table    -> nothingUsable
//    UsageError  the command line asks for something that does not exist                -> badUsage
//
// Texts are lower case, one line, without a full stop and without the leading "rtrie: " (Messages adds it).
// Tested by tests/tools/rtrie/ProgramTest.cpp.
#pragma once

#include <cstdint>
#include <string_view>

#include "routetrie/platform/Types.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {

enum class ExitStatus : int { ok = 0, badData = 1, badUsage = 2, nothingUsable = 3 };

// What the help says about them, a line each.
inline constexpr std::string_view exitStatusHelp =
   "  0                 all was answered\n"
   "  1                 some input was bad, and the rest was answered\n"
   "  2                 the command line asks for something that does not exist\n"
   "  3                 nothing was usable, or the output can't be written\n";

// Of a run that came to its end. faults: what could not be read or answered; isUsable: whether anything was.
constexpr ExitStatus exitStatusOf(std::uint64_t faults, bool isUsable) {
   return faults == 0 ? ExitStatus::ok : isUsable ? ExitStatus::badData : ExitStatus::nothingUsable;
}

}  // namespace Rtrie
