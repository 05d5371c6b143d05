// The multibit trie. The places are its top, its end, and across each border between two levels, so that routes of one world
// stand in both.
#include "tests/property/EngineTests.h"
#include "tests/property/MultibitEngine.h"

namespace Property {
namespace MultibitTest {

// Sixteen and more routes of one length side by side, across the borders of levels: children and their arrays come and go.
constexpr Mix bushes[] = {{"bushes", 3, {12, 0}, {32, 0}, 100, 400}};

INSTANTIATE_TEST_SUITE_P(Multibit, RandomOps, mixesOn<MultibitEngine>(), caseName);
INSTANTIATE_TEST_SUITE_P(MultibitLevels, RandomOps, mixesOn<MultibitEngine>(longRun, bushes), caseName);
INSTANTIATE_TEST_SUITE_P(Multibit, SmallWorlds, placesOn<MultibitEngine>({0, 6, 14, 18, 22, 26, 28}), caseName);

}  // namespace MultibitTest
}  // namespace Property
