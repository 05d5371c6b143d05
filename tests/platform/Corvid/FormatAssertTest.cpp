#include "routetrie/platform/Corvid/FormatAssert.h"

#include <gtest/gtest.h>

namespace {

TEST(FormatAssertDeathTest, printsTheFormattedTextAndAborts) {
   const int value = 12;
   EXPECT_EXIT(Corvid::Impl::vfmassert("value == 8", "File.cpp", 7, "U32 f()", "unsupported: {}",
                                       fmt::make_format_args(value)),
               testing::KilledBySignal(SIGABRT),
               "File.cpp:7: U32 f\\(\\): Assertion `value == 8' failed: unsupported: 12");
}

}  // namespace
