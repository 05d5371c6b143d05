// The front ends. Small worlds are for the engines beneath them: a front end cannot tell the shape of its tree.
#include "tests/property/EngineTests.h"
#include "tests/property/FrontEngine.h"

namespace Property {
namespace FrontTest {

using Corenet::ipv4;
using Corenet::ipv6;

constexpr RunLength run{5'000, 15'000, 60'000};

INSTANTIATE_TEST_SUITE_P(Trie6, RandomOps, mixesOn<FrontEngine<Trie6Front>>(run), caseName);
INSTANTIATE_TEST_SUITE_P(Compact4, RandomOps, mixesOn<FrontEngine<CompactFront<ipv4>>>(run), caseName);
INSTANTIATE_TEST_SUITE_P(Compact6, RandomOps, mixesOn<FrontEngine<CompactFront<ipv6>>>(run), caseName);
INSTANTIATE_TEST_SUITE_P(Gen4, RandomOps, mixesOn<FrontEngine<GenFront<ipv4>>>(run), caseName);
INSTANTIATE_TEST_SUITE_P(Gen6, RandomOps, mixesOn<FrontEngine<GenFront<ipv6>>>(run), caseName);
INSTANTIATE_TEST_SUITE_P(Wrapper4, RandomOps, mixesOn<FrontEngine<WrapperFront<ipv4>>>(run), caseName);
INSTANTIATE_TEST_SUITE_P(Wrapper6, RandomOps, mixesOn<FrontEngine<WrapperFront<ipv6>>>(run), caseName);

}  // namespace FrontTest
}  // namespace Property
