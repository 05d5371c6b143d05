// The Patricia trie whose routes have payloads. Each question looks for the payloads as well, so the runs are shorter.
#include "tests/property/EngineTests.h"
#include "tests/property/PatriciaDataEngine.h"

namespace Property {
namespace PatriciaDataTest {

constexpr RunLength run{3'000, 10'000, 40'000};

INSTANTIATE_TEST_SUITE_P(Ipv4, RandomOps, mixesOn<Ipv4DataEngine>(run), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv4Compact, RandomOps, mixesOn<Ipv4CompactDataEngine>(run), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv6Legacy, RandomOps, mixesOn<Ipv6LegacyDataEngine>(run), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv6Compact, RandomOps, mixesOn<Ipv6CompactDataEngine>(run), caseName);

// Their trees are those of the engines without payloads.
INSTANTIATE_TEST_SUITE_P(Ipv4, SmallWorlds, placesOn<Ipv4DataEngine>({0, 28}, false), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv4Compact, SmallWorlds, placesOn<Ipv4CompactDataEngine>({0, 28}, false), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv6Legacy, SmallWorlds, placesOn<Ipv6LegacyDataEngine>({0, 62}, false), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv6Compact, SmallWorlds, placesOn<Ipv6CompactDataEngine>({0, 62}, false), caseName);

}  // namespace PatriciaDataTest
}  // namespace Property
