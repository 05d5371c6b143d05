#include "routetrie/platform/Corvid/FormatAssert.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace FormatAssertTest {

static_assert(std::is_same_v<decltype(&Corvid::Impl::vfmassert),
                             void (*)(const char* expression, const char* file, const char* function, unsigned line,
                                      fmt::string_view format, fmt::format_args args) noexcept>);

TEST(FormatAssertDeathTest, printsTheFormattedTextAndAborts) {
   const int value = 12;
   EXPECT_EXIT(Corvid::Impl::vfmassert("value == 8", "File.cpp", "U32 f()", 7, "unsupported: {}",
                                       fmt::make_format_args(value)),
               testing::KilledBySignal(SIGABRT),
               "File.cpp:7: U32 f\\(\\): Assertion `value == 8' failed: unsupported: 12");
}

}  // namespace FormatAssertTest
