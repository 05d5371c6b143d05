#include "routetrie/platform/Keel/DisplayPointer.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "routetrie/platform/CoreFmt/Format.h"
#include "routetrie/platform/Types.h"

namespace DisplayPointerTest {

using Keel::DisplayPointer;

const void* at(std::uint64_t address) { return reinterpret_cast<const void*>(address); }

TEST(DisplayPointer, sixteenDigitsOrNull) {
   EXPECT_EQ("NULL", CoreFmt::format("{}", DisplayPointer(nullptr)));
   EXPECT_EQ("0x0000000000000010", CoreFmt::format("{}", DisplayPointer(at(0x10))));
   EXPECT_EQ("0xfedcba9876543210", CoreFmt::format("{}", DisplayPointer(at(0xfedcba9876543210))));
   EXPECT_EQ("L - 0x00007fff00000001", CoreFmt::format("{} - {}", 'L', DisplayPointer(at(0x7fff00000001))));
}

}  // namespace DisplayPointerTest
