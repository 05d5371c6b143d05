// Long random runs of changes and questions on intrusive tries, beside the slow oracle. A failure prints the seed and a
// shrunk list of ops.
#include <gtest/gtest.h>

#include "tests/property/IntrusiveEngine.h"
#include "tests/property/Ops.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace {

template <class E>
class IntrusiveRandom : public testing::Test {
  protected:
   void runMix(std::string_view name) {
      const auto* mix =
         std::find_if(std::begin(mixes), std::end(mixes), [&](const Mix& m) { return m.name == name; });
      ASSERT_NE(std::end(mixes), mix);
      const Ops ops = Workload(E::family, *mix, seed()).ops(sized<std::size_t>(10'000, 100'000, 300'000));
      EXPECT_EQ("", report<E>(ops, 250));
   }
};

using Engines = testing::Types<Ipv6IntrusiveEngine, Ipv4IntrusiveEngine>;
TYPED_TEST_SUITE(IntrusiveRandom, Engines, EngineName);

TYPED_TEST(IntrusiveRandom, nested) { this->runMix("nested"); }
TYPED_TEST(IntrusiveRandom, clustered) { this->runMix("clustered"); }
TYPED_TEST(IntrusiveRandom, lengthy) { this->runMix("lengthy"); }
TYPED_TEST(IntrusiveRandom, scattered) { this->runMix("scattered"); }
TYPED_TEST(IntrusiveRandom, handful) { this->runMix("handful"); }

}  // namespace
}  // namespace Property
