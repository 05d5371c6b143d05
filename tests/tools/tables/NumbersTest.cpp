// Numbers: grouping and rates.
#include "tools/tables/Numbers.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace Rtrie {
namespace NumbersTest {

TEST(Numbers, grouped) {
   EXPECT_EQ("0", grouped(0));
   EXPECT_EQ("999", grouped(999));
   EXPECT_EQ("1,000", grouped(1000));
   EXPECT_EQ("1,062,046", grouped(1062046));
   EXPECT_EQ("18,446,744,073,709,551,615", grouped(~std::uint64_t{0}));
}

TEST(Numbers, perSecond) {
   EXPECT_EQ(500U, perSecond(1000, 2.0));
   EXPECT_EQ(3U, perSecond(5, 2.0));
   EXPECT_EQ(0U, perSecond(1000, 0.0));
}

}  // namespace NumbersTest
}  // namespace Rtrie
