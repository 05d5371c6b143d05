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

// Bit 32 - L set for each length L of a route that the node, of that level, has on the way to the host-order address.
template <U32 level>
[[gnu::always_inline]] inline U32 lengthsAt(const TrieImpl::TrieNode& node, U32 address) {
   const U32 key = keyi(level, address);
   const U8 routes = level == TrieImpl::leafLevel ? node.routeByteOfLeaf(key) : node.routeByteAboveLeaf(key);
   return U32{routes} << (32 - TrieImpl::levelEndBit[level]);
}

// The same of all routes that cover the address. Written out level by level, because this is where a router spends its
// time: each level is a load of the child, a load of the byte, and one branch. As a recursion over the levels it took two
// to four instructions in a hundred more.
[[gnu::always_inline]] inline U32 coveringLengths(const TrieImpl::TrieNode* node, U32 address) {
   U32 lengths = lengthsAt<0>(*node, address);

   node = node->child(keyi(0, address));
   if (node == nullptr) {
      return lengths;
   }
   lengths |= lengthsAt<1>(*node, address);

   node = node->child(keyi(1, address));
   if (node == nullptr) {
      return lengths;
   }
   lengths |= lengthsAt<2>(*node, address);

   node = node->child(keyi(2, address));
   if (node == nullptr) {
      return lengths;
   }
   lengths |= lengthsAt<3>(*node, address);

   node = node->child(keyi(3, address));
   if (node == nullptr) {
      return lengths;
   }
   lengths |= lengthsAt<4>(*node, address);

   node = node->child(keyi(4, address));
   if (node == nullptr) {
      return lengths;
   }
   return lengths | lengthsAt<5>(*node, address);
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
