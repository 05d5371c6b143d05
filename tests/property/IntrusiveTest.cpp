// The intrusive tries. The places are the top of an address, across the ends of bytes, and its end.
#include "tests/property/EngineTests.h"
#include "tests/property/IntrusiveEngine.h"

namespace Property {
namespace IntrusiveTest {

INSTANTIATE_TEST_SUITE_P(Ipv6, RandomOps, mixesOn<Ipv6IntrusiveEngine>(), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv4, RandomOps, mixesOn<Ipv4IntrusiveEngine>(), caseName);

INSTANTIATE_TEST_SUITE_P(Ipv6, SmallWorlds, placesOn<Ipv6IntrusiveEngine>({0, 4, 62, 124}), caseName);
INSTANTIATE_TEST_SUITE_P(Ipv4, SmallWorlds, placesOn<Ipv4IntrusiveEngine>({0, 14, 28}), caseName);

}  // namespace IntrusiveTest
}  // namespace Property
