// TrieLengths: the searches for one address in a multibit trie. They are compiled into whoever searches: a lookup is so short
// that a call, and an answer of five bytes that it hands over, would make it half as slow again.
//
// The route bytes on the way down an address, each shifted to its level's place, make one word: bit 32 - L is set exactly
// if the trie has the route of the address's first L bits. Cut to the lengths that a question allows, the lowest bit of the
// word is the longest route.
// Tested by tests/trie/multibit/TrieLookupTest.cpp.
#pragma once

#include <bit>

#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/trie/multibit/TrieNode.h"

namespace Routing {

// The longest of these routes; without one the default route, or the null prefix.
inline Corenet::Prefix longestOf(U32 lengths, U32 address, bool defaultRoutePresent) {
   if (lengths != 0) {
      return Corenet::Prefix::cut(Corenet::AddressBits<32>(address),
                                  32 - static_cast<U32>(std::countr_zero(lengths)));
   }
   return defaultRoutePresent ? Corenet::Prefix() : Corenet::Prefix::nullPrefix();
}

// Bit 32 - L set for each length L of a route that covers the host-order address. Written out level by level, because
// this is where a router spends its time: each level is a load of the child, a load of the byte, and one branch.
[[gnu::always_inline]] inline U32 coveringLengths(const TrieImpl::TrieNode* node, U32 address) {
   using namespace TrieImpl;
   U32 lengths = U32{node->routeByteAboveLeaf(keyi(0, address))} << 24;

   node = node->child(keyi(0, address));
   if (node == nullptr) {
      return lengths;
   }
   lengths |= U32{node->routeByteAboveLeaf(keyi(1, address))} << 16;

   node = node->child(keyi(1, address));
   if (node == nullptr) {
      return lengths;
   }
   lengths |= U32{node->routeByteAboveLeaf(keyi(2, address))} << 12;

   node = node->child(keyi(2, address));
   if (node == nullptr) {
      return lengths;
   }
   lengths |= U32{node->routeByteAboveLeaf(keyi(3, address))} << 8;

   node = node->child(keyi(3, address));
   if (node == nullptr) {
      return lengths;
   }
   lengths |= U32{node->routeByteAboveLeaf(keyi(4, address))} << 4;

   node = node->child(keyi(4, address));
   if (node == nullptr) {
      return lengths;
   }
   return lengths | node->routeByteOfLeaf(keyi(5, address));
}

// The longest route that covers the prefix, in the tree of that root.
[[gnu::always_inline]] inline Corenet::Prefix longestMatchIn(const TrieImpl::TrieNode* root, bool defaultRoutePresent,
                                                             const Corenet::Prefix& prefix) {
   const U32 address = prefix.bits().word();
   const U32 allowed = TrieImpl::lengthMask(prefix.len());
   return longestOf(coveringLengths(root, address) & allowed, address, defaultRoutePresent);
}

// The same without the prefix itself.
[[gnu::always_inline]] inline Corenet::Prefix parentIn(const TrieImpl::TrieNode* root, bool defaultRoutePresent,
                                                       const Corenet::Prefix& prefix) {
   const U32 address = prefix.bits().word();
   const U32 allowed = TrieImpl::lengthMask(prefix.len()) << 1;
   return longestOf(coveringLengths(root, address) & allowed, address, defaultRoutePresent && prefix.len() != 0);
}

}  // namespace Routing
