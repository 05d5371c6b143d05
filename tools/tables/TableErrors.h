// TableErrors: what can be wrong with a table, or with what is asked of it.
//
//    BadText     one line or one query cannot be read; whoever reads on leaves it out
//    DataError   the table cannot be read at all: no such file, a truncated one, one without routes
//    UsageError  what is asked for does not exist: a peer without an address, an engine of no name
//
// Texts are lower case, one line, without a full stop.
// Tested by tests/tools/rtrie/ProgramTest.cpp.
#pragma once

#include <stdexcept>

namespace Rtrie {

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
