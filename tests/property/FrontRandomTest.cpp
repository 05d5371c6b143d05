// Long random runs of changes and questions on each front end, beside the slow oracle. A failure prints the seed and a
// shrunk list of ops.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/property/FrontEngine.h"
#include "tests/property/Ops.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace {

template <class E>
class FrontRandom : public testing::Test {
  protected:
   void runMix(std::string_view name) {
      const auto* mix =
         std::find_if(std::begin(mixes), std::end(mixes), [&](const Mix& m) { return m.name == name; });
      ASSERT_NE(std::end(mixes), mix);
      const Ops ops = Workload(E::family, *mix, seed()).ops(sized<std::size_t>(5'000, 40'000, 150'000));
      EXPECT_EQ("", report<E>(ops, 250));
   }
};

TYPED_TEST_SUITE(FrontRandom, FrontEngines<testing::Types>, EngineName);

TYPED_TEST(FrontRandom, nested) { this->runMix("nested"); }
TYPED_TEST(FrontRandom, clustered) { this->runMix("clustered"); }
TYPED_TEST(FrontRandom, scattered) { this->runMix("scattered"); }
TYPED_TEST(FrontRandom, handful) { this->runMix("handful"); }

}  // namespace
}  // namespace Property
