// SizeClass: the block sizes that the slab keeps pages of: every 8 bytes up to 1 KiB, then four to each doubling up to
// 16 KiB. Larger blocks have mappings of their own.
// Tested by tests/platform/CoreSlab/PageHeapTest.cpp.
#pragma once

#include <bit>
#include <cstddef>

#include "routetrie/platform/Language.h"

namespace CoreSlab {

inline constexpr std::size_t smallStepBytes = 8;
inline constexpr std::size_t smallLimitBytes = 1024;
inline constexpr std::size_t classedLimitBytes = 16384;
inline constexpr std::size_t smallClassCount = smallLimitBytes / smallStepBytes;
inline constexpr std::size_t classCount = smallClassCount + 4 * 4;

// The class of the smallest block that holds `bytes`. Requires: `bytes` is at most classedLimitBytes.
constexpr std::size_t sizeClassOf(std::size_t bytes) {
   if (bytes <= smallLimitBytes) {
      return bytes == 0 ? 0 : (bytes - 1) / smallStepBytes;
   }
   const std::size_t doubling = static_cast<std::size_t>(std::bit_width(bytes - 1)) - 1;  // 10 for 1025 to 2048
   const std::size_t quarterBytes = std::size_t{1} << (doubling - 2);
   const std::size_t quarter = (bytes - 1 - (std::size_t{1} << doubling)) / quarterBytes;
   return smallClassCount + 4 * (doubling - 10) + quarter;
}

constexpr std::size_t sizeClassBytes(std::size_t sizeClass) {
   if (sizeClass < smallClassCount) {
      return (sizeClass + 1) * smallStepBytes;
   }
   const std::size_t doubling = 10 + (sizeClass - smallClassCount) / 4;
   const std::size_t quarter = (sizeClass - smallClassCount) % 4;
   return (std::size_t{1} << doubling) + (quarter + 1) * (std::size_t{1} << (doubling - 2));
}

static_assert(sizeClassBytes(sizeClassOf(20)) == 24 && sizeClassBytes(sizeClassOf(36)) == 40);
static_assert(sizeClassOf(classedLimitBytes) == classCount - 1);
static_assert(sizeClassBytes(classCount - 1) == classedLimitBytes);

}  // namespace CoreSlab
