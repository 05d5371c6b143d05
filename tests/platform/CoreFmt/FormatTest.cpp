#include "routetrie/platform/CoreFmt/Format.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace FormatTest {

TEST(Format, makesAString) {
   EXPECT_EQ(Corvid::String("7 routes"), CoreFmt::format("{} {}", 7, "routes"));
   EXPECT_EQ(Corvid::String("[ text]"), CoreFmt::format("[{:>5}]", Corvid::String("text")));
   const unsigned value = 7;
   EXPECT_EQ("unknown 7", CoreFmt::Detail::formatCorvidString("unknown {}", fmt::make_format_args(value)));
}

TEST(Format, refusesAFormatThatDoesNotFit) {
   EXPECT_THROW(static_cast<void>(CoreFmt::Detail::formatCorvidString("{}", {})), fmt::format_error);
}

}  // namespace FormatTest
