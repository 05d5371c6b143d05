// The Patricia trie with each of its node types. The places are the top of an address; across the ends of 32-bit words; across
// 56 bits, where compact IPv6 keys begin to share records; and its end.
#include "tests/property/EngineTests.h"
#include "tests/property/PatriciaEngine.h"

namespace Property {
namespace PatriciaTest {

INSTANTIATE_TEST_SUITE_P(Ipv4, RandomOps, mixesOn<Ipv4Engine>(), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv4Compact, RandomOps, mixesOn<Ipv4CompactEngine>(), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv6Legacy, RandomOps, mixesOn<Ipv6LegacyEngine>(), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv6Compact, RandomOps, mixesOn<Ipv6CompactEngine>(), caseName);

// All kinds have trees of the same shapes, so that one of them is asked on each way.
INSTANTIATE_TEST_SUITE_P(Ipv4, SmallWorlds, placesOn<Ipv4Engine>({0, 14, 28}, false), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv4Compact, SmallWorlds, placesOn<Ipv4CompactEngine>({0, 14, 28}, false), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv6Legacy, SmallWorlds, placesOn<Ipv6LegacyEngine>({0, 30, 62, 94, 124}, false), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv6Compact, SmallWorlds, placesOn<Ipv6CompactEngine>({0, 30, 54, 62, 94, 124}), caseName);

}  // namespace PatriciaTest
}  // namespace Property
