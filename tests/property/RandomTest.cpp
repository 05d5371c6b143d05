// Long random runs of changes and questions on each engine, beside the slow oracle: 100,000 ops a mix. A failure prints
// the seed and a shrunk list of ops, which can be pasted into tests/property/PatriciaShapeTest.cpp.
#include <gtest/gtest.h>

#include "tests/property/Ops.h"
#include "tests/property/PatriciaEngine.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace {

template <class E>
class RandomTest : public testing::Test {
  protected:
   void runMix(std::string_view name) {
      const auto* mix =
         std::find_if(std::begin(mixes), std::end(mixes), [&](const Mix& m) { return m.name == name; });
      ASSERT_NE(std::end(mixes), mix);
      const Ops ops = Workload(E::family, *mix, seed()).ops(sized<std::size_t>(10'000, 100'000, 300'000));
      EXPECT_EQ("", report<E>(ops, 250));
   }
};

using Engines = PatriciaEngines<testing::Types>;
TYPED_TEST_SUITE(RandomTest, Engines, EngineName);

TYPED_TEST(RandomTest, nested) { this->runMix("nested"); }
TYPED_TEST(RandomTest, clustered) { this->runMix("clustered"); }
TYPED_TEST(RandomTest, lengthy) { this->runMix("lengthy"); }
TYPED_TEST(RandomTest, scattered) { this->runMix("scattered"); }
TYPED_TEST(RandomTest, handful) { this->runMix("handful"); }

}  // namespace
}  // namespace Property
