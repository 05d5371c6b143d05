// Node: what the trees are made of, and the arithmetic on six bits of an address. Drawn in Tree.h.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/table/Region.h"

#define ROUTETRIE_INLINE inline __attribute__((always_inline))

namespace routetrie::Impl {

inline constexpr unsigned stride = 6;  // bits of the address that a node stands for

struct Node {
   static constexpr U64 compressedBit = U64{1} << 63;  // in routes[0]
   static constexpr U64 leafBit = U64{1} << 62;
   static constexpr unsigned headerBytes = 24;

   U64 routes[2];  // those whose next bit is 0, and 1; in preorder
   U64 children;   // by the next six bits
   U32 first[2];   // of the numbers of children and the values; of one that is compressed, the end of its bits

   ROUTETRIE_INLINE bool isCompressed() const noexcept { return routes[0] >> 63 != 0; }
   // Of one that is compressed:
   ROUTETRIE_INLINE bool isLeaf() const noexcept { return (routes[0] & leafBit) != 0; }
   ROUTETRIE_INLINE unsigned length() const noexcept { return static_cast<unsigned>(routes[0] & 255); }
   ROUTETRIE_INLINE U32 target() const noexcept {
      U32 number;
      std::memcpy(&number, &routes[1], sizeof number);
      return number;
   }
   ROUTETRIE_INLINE const void* leafValue() const noexcept { return &routes[1]; }
   // Of one that is not:
   ROUTETRIE_INLINE const std::byte* bytes() const noexcept {
      return static_cast<const std::byte*>(static_cast<const void*>(this));
   }
   std::byte* bytes() noexcept { return static_cast<std::byte*>(static_cast<void*>(this)); }
   ROUTETRIE_INLINE const U32* numbers() const noexcept {
      return static_cast<const U32*>(static_cast<const void*>(bytes() + headerBytes));
   }
   U32* numbers() noexcept { return static_cast<U32*>(static_cast<void*>(bytes() + headerBytes)); }
   bool hasRoutes() const noexcept { return (routes[0] | routes[1]) != 0; }
   unsigned routeCount() const noexcept {
      return static_cast<unsigned>(std::popcount(routes[0]) + std::popcount(routes[1]));
   }
   unsigned childCount() const noexcept { return static_cast<unsigned>(std::popcount(children)); }
};
static_assert(sizeof(Node) == 32 && offsetof(Node, first) == Node::headerBytes);

ROUTETRIE_INLINE U64 below(U64 word, unsigned bit) noexcept { return word & ((U64{1} << bit) - 1); }

// Where the values begin behind so many numbers of children, in bytes; `step` is what a value takes.
ROUTETRIE_INLINE unsigned valuesFrom(unsigned children, unsigned step) noexcept {
   const unsigned odd = step >> 1 & 4;  // 4 where values have 8 bytes, and begin at a multiple of them
   return Node::headerBytes + ((4 * children + odd) & ~odd);
}
// Where a child's number stands among the others. Requires: it is there, or the place where it would be is meant.
ROUTETRIE_INLINE U32 childRank(U64 children, unsigned chunk) noexcept {
   return static_cast<U32>(std::popcount(below(children, chunk)));
}

//--- the 63 prefixes of up to six bits with one first bit, in preorder ---

// Its place: `length` is 1 to 6, `low` the five bits behind the first, zeros past the length.
ROUTETRIE_INLINE unsigned placeOf(unsigned length, unsigned low) noexcept {
   return length - 1 + 2 * low - static_cast<unsigned>(std::popcount(low));
}
constexpr unsigned cutLow(unsigned low, unsigned length) noexcept {
   return low >> (stride - length) << (stride - length);
}

// Those on the way to five bits: one of each length.
inline constexpr auto wayTo = [] {
   std::array<U64, 32> ways{};
   for (unsigned low = 0; low < 32; ++low) {
      for (unsigned length = 1; length <= stride; ++length) {
         const unsigned cut = cutLow(low, length);
         ways[low] |= U64{1} << (length - 1 + 2 * cut - static_cast<unsigned>(std::popcount(cut)));
      }
   }
   return ways;
}();

struct Place {
   U8 length;
   U8 low;
};
inline constexpr auto places = [] {
   std::array<Place, 63> result{};
   for (unsigned length = 1; length <= stride; ++length) {
      for (unsigned low = 0; low < 32; low += 1u << (stride - length)) {
         result[length - 1 + 2 * low - static_cast<unsigned>(std::popcount(low))] = {static_cast<U8>(length),
                                                                                     static_cast<U8>(low)};
      }
   }
   return result;
}();

// How many of the places before this one are of six bits.
inline constexpr auto fullBefore = [] {
   std::array<U8, 64> result{};
   for (unsigned place = 0; place < 63; ++place) {
      result[place + 1] = static_cast<U8>(result[place] + (places[place].length == stride ? 1 : 0));
   }
   return result;
}();
// The children under one half's routes, by the five bits behind the first.
ROUTETRIE_INLINE U64 childrenOf(const Node& n, unsigned half) noexcept {
   return half != 0 ? n.children >> 32 : n.children & 0xffffffff;
}

//--- six bits of an address ---

template <unsigned width>
ROUTETRIE_INLINE unsigned chunkAt(Corenet::AddressBits<width> bits, unsigned depth) noexcept {
   if constexpr (width == 32) {
      return static_cast<unsigned>(U64{bits.word()} << 32 >> (58 - depth)) & 63;
   } else {
      // Most are in the first word of the machine.
      if (depth <= 58) [[likely]] {
         return static_cast<unsigned>(static_cast<U64>(bits.word() >> 64) >> (58 - depth)) & 63;
      }
      return static_cast<unsigned>(depth <= 122 ? bits.word() >> (122 - depth) : bits.word() << (depth - 122)) & 63;
   }
}
template <unsigned width>
ROUTETRIE_INLINE Corenet::AddressBits<width> withChunk(Corenet::AddressBits<width> bits, unsigned depth,
                                                       unsigned chunk) noexcept {
   using Bits = Corenet::AddressBits<width>;
   if constexpr (width == 32) {
      return Bits(bits.word() | static_cast<U32>(U64{chunk} << (58 - depth) >> 32));
   } else {
      if (depth <= 58) [[likely]] {
         return Bits(bits.word() | U128{U64{chunk} << (58 - depth)} << 64);
      }
      return Bits(bits.word() | (depth <= 122 ? U128{chunk} << (122 - depth) : U128{chunk} >> (depth - 122)));
   }
}
// The same behind the first `depth` bits alone.
template <unsigned width>
ROUTETRIE_INLINE Corenet::AddressBits<width> cutWithChunk(Corenet::AddressBits<width> bits, unsigned depth,
                                                          unsigned chunk) noexcept {
   if constexpr (width == 128) {
      if (depth <= 58) [[likely]] {
         const U64 first = static_cast<U64>(bits.word() >> 64) & ~(~U64{0} >> depth);
         return Corenet::AddressBits<width>(U128{first | U64{chunk} << (58 - depth)} << 64);
      }
   }
   return withChunk(bits.cut(depth), depth, chunk);
}

//--- the bits that a compressed node holds ---

template <unsigned width>
ROUTETRIE_INLINE Corenet::AddressBits<width> keyOf(const Node& n) noexcept {
   if constexpr (width == 32) {
      return Corenet::AddressBits<width>(static_cast<U32>(n.children));
   } else {
      return Corenet::AddressBits<width>(U128{n.children} << 64 | U64{n.first[1]} << 32 | n.first[0]);
   }
}
template <unsigned width>
Node compressedNode(Corenet::AddressBits<width> bits, unsigned length, U64 flags, U32 target) noexcept {
   Node n{};
   n.routes[0] = Node::compressedBit | flags | length;
   std::memcpy(&n.routes[1], &target, sizeof target);
   const auto word = bits.cut(length).word();
   if constexpr (width == 32) {
      n.children = word;
   } else {
      n.children = static_cast<U64>(word >> 64);
      n.first[0] = static_cast<U32>(word);
      n.first[1] = static_cast<U32>(word >> 32);
   }
   return n;
}

}  // namespace routetrie::Impl
