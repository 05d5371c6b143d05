// Errors: the three ways in which a run of rtrie can go wrong, and the exit status of each.
//
//    BadText     one line or one query cannot be read; the run goes on and ends with badData
//    DataError   the run cannot go on: no such file, a truncated one, an empty table    -> badData
//    UsageError  the command line asks for something that does not exist                -> badUsage
//
// Texts are lower case, one line, without a full stop and without the leading "rtrie: " (Messages adds it).
// Tested by tests/tools/rtrie/ProgramTest.cpp.
#pragma once

#include <stdexcept>

namespace Rtrie {

enum class ExitStatus : int { ok = 0, badData = 1, badUsage = 2 };

struct BadText : std::runtime_error {
   using std::runtime_error::runtime_error;
};
struct DataError : std::runtime_error {
   using std::runtime_error::runtime_error;
};
struct UsageError : std::runtime_error {
   using std::runtime_error::runtime_error;
};

}  // namespace Rtrie
