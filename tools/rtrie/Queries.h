// Queries: addresses and prefixes that a command is asked about: its arguments or, without any, one a line of standard input.
//
// Tested by tests/tools/rtrie/LookupTest.cpp and tests/tools/rtrie/ExplainTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"

namespace Rtrie {

struct QueryCounts {
   std::uint64_t faults = 0;  // each told on standard error, with its line
   std::uint64_t answered = 0;
};

// Calls ask(query, its text) for each; what it raises as BadText is a fault. beforeWait: whoever writes the queries may wait for the
// answers.
QueryCounts forEachQuery(const std::vector<std::string>& arguments,
                         const std::function<void(const Corenet::IpGenPrefix& query, std::string_view text)>& ask,
                         const std::function<void()>& beforeWait);

}  // namespace Rtrie
