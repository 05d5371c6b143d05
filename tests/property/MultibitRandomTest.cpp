// Long random runs of changes and questions on the multibit trie, beside the slow oracle. A failure prints the seed and a
// shrunk list of ops.
#include <gtest/gtest.h>

#include "tests/property/MultibitEngine.h"
#include "tests/property/Ops.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace {

// Sixteen and more routes of one length side by side, across the borders of levels: children and their arrays come and go.
constexpr Mix bushes{"bushes", 3, {12, 0}, {32, 0}, 100, 400};

class MultibitRandom : public testing::TestWithParam<Mix> {};

TEST_P(MultibitRandom, agreesWithTheSlowTable) {
   const Ops ops = Workload(Corenet::ipv4, GetParam(), seed()).ops(sized<std::size_t>(10'000, 100'000, 300'000));
   EXPECT_EQ("", report<MultibitEngine>(ops, 250));
}

INSTANTIATE_TEST_SUITE_P(Mixes, MultibitRandom,
                         testing::Values(mixes[0], mixes[1], mixes[2], mixes[3], mixes[4], bushes),
                         [](const auto& mix) { return std::string(mix.param.name); });

}  // namespace
}  // namespace Property
