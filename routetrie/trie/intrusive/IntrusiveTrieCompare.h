// CompareResult: how two prefixes lie to each other, and the compare that a descent of the intrusive trie makes at each
// node. "lhs" is the prefix that is sought or inserted, "rhs" the node's.
//
// The prefixes are views of bytes of any length, which need not be readable past their last bit: so they are compared
// byte by byte and not in the registers of Corenet::AddressBits, whose width an address family fixes.
// Tested by tests/trie/intrusive/IntrusiveTrieCompareTest.cpp.
#pragma once

#include <algorithm>
#include <bit>
#include <iosfwd>

#include "routetrie/platform/Corenet/PrefixDataAndLength.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Sprig::Intrusive::Impl {

struct CompareResult {
   enum class Difference : U8 {
      none = 0,                 // equal prefixes
      bothLongerAndLhsSet = 1,  // both go on past commonLength, and the first bit that differs is set in lhs
      bothLongerAndRhsSet = 2,  // the same, and that bit is set in rhs
      lhsLongerAndSet = 3,      // rhs covers lhs; the next bit of lhs is set
      lhsLongerAndClear = 4,
      rhsLongerAndSet = 5,  // lhs covers rhs; the next bit of rhs is set
      rhsLongerAndClear = 6,
   };

   // rhs covers lhs and is shorter: the way of lhs leads on to a child of it.
   bool passes() const noexcept {
      return difference == Difference::lhsLongerAndSet || difference == Difference::lhsLongerAndClear;
   }

   U8 commonLength = 0;  // leading bits that the two share
   Difference difference = Difference::none;

   friend bool operator==(const CompareResult&, const CompareResult&) noexcept = default;
};

// "{commonLength=12 lhsLongerAndSet}"; a difference outside its enumeration prints as "unknown 7".
ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, CompareResult::Difference difference);
ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, const CompareResult& result);

// The parting of two prefixes within byte number `byte`, given the bytes with all that does not count masked away.
inline CompareResult parting(U32 byte, U8 lhs, U8 rhs) noexcept {
   const auto differing = static_cast<U8>(lhs ^ rhs);
   return {
      static_cast<U8>(8 * byte + static_cast<U32>(std::countl_zero(differing))),
      lhs > rhs ? CompareResult::Difference::bothLongerAndLhsSet : CompareResult::Difference::bothLongerAndRhsSet};
}

// The bit of a view. Requires: `n` is below its length.
inline bool bitOf(const Corenet::PrefixDataAndLength& prefix, U32 n) noexcept {
   return ((prefix.data[n / 8] >> (7 - n % 8)) & 1) != 0;
}

// Compares from the byte that holds bit `known` on. Requires: the first `known` bits are the same and in both prefixes;
// lengths are at most 255. Bits past a length are not looked at.
inline CompareResult compare(const Corenet::PrefixDataAndLength& lhs, const Corenet::PrefixDataAndLength& rhs,
                             U32 known) noexcept {
   using Difference = CompareResult::Difference;
   const U32 common = std::min(lhs.length, rhs.length);
   U32 byte = known / 8;
   for (; 8 * byte + 8 <= common; ++byte) {
      if (lhs.data[byte] != rhs.data[byte]) {
         return parting(byte, lhs.data[byte], rhs.data[byte]);
      }
   }
   if (const U32 rest = common % 8; rest != 0) {
      const auto mask = static_cast<U8>(~(0xffU >> rest));
      const auto left = static_cast<U8>(lhs.data[byte] & mask);
      const auto right = static_cast<U8>(rhs.data[byte] & mask);
      if (left != right) {
         return parting(byte, left, right);
      }
   }
   const auto commonLength = static_cast<U8>(common);
   if (lhs.length > common) {
      // By arithmetic, since no one can predict a bit.
      constexpr auto clear = static_cast<U8>(Difference::lhsLongerAndClear);
      static_assert(static_cast<U8>(Difference::lhsLongerAndSet) == clear - 1);
      return {commonLength, static_cast<Difference>(clear - U8{bitOf(lhs, common)})};
   }
   if (rhs.length > common) {
      return {commonLength, bitOf(rhs, common) ? Difference::rhsLongerAndSet : Difference::rhsLongerAndClear};
   }
   return {commonLength, Difference::none};
}

}  // namespace Sprig::Intrusive::Impl
