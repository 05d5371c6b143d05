// The questions to a multibit trie: they change nothing, allocate nothing and visit at most six nodes.
//
// The route bytes on the way down an address, each shifted to its level's place, make one word: bit 32 - L is set exactly
// if the trie has the route of the address's first L bits. Cut to the lengths that a question allows, the lowest bit of the
// word is the longest route.
#include "platform/Corvid/Assert.h"
#include "trie/Trie.h"
#include "trie/TrieLengths.h"
#include "trie/TrieTrace.h"

namespace Routing {

using namespace TrieImpl;

namespace {

// Bit 32 - L set for each length L of a route that covers the host-order address. Written out level by level, because
// this is where a router spends its time: each level is a load of the child, a load of the byte, and one branch.
[[gnu::always_inline]] inline U32 coveringLengths(const TrieNode* node, U32 address) {
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

}  // namespace

bool Trie::route(const Corenet::Prefix& prefix) const { return longestMatch(prefix) == prefix; }

Corenet::Prefix Trie::longestMatch(const Corenet::Prefix& prefix) const {
   const U32 address = prefix.bits().word();
   const U32 allowed = lengthMask(prefix.len());
   return longestOf(coveringLengths(root_, address) & allowed, address, defaultRoutePresent_);
}

Corenet::Prefix Trie::findParent(const Corenet::Prefix& prefix) const {
   const U32 address = prefix.bits().word();
   const U32 allowed = lengthMask(prefix.len()) << 1;
   return longestOf(coveringLengths(root_, address) & allowed, address, defaultRoutePresent_ && prefix.len() != 0);
}

bool Trie::longerRoutePresent(const Corenet::Prefix& prefix) const {
   ROUTETRIE_TRACE(trieTrace, 8) << "longerRoutePresent"
                                 << " prefix:" << prefix;
   if (const TrieNode* node = lpmNode(root_, prefix)) {
      return node->longerRoutePresent(prefix);
   }
   ROUTETRIE_TRACE(trieTrace, 6) << "subtree doesn't exist for " << prefix;
   return false;
}

}  // namespace Routing

namespace TrieImpl {

bool TrieNode::longerRoutePresent(const Corenet::Prefix& prefix) const noexcept {
   ROUTETRIE_TRACE(trieTrace, 8) << "longerRoutePresent"
                                 << " prefix:" << prefix;
   const U32 length = prefix.len();
   const U32 first = keyi(level(), prefix.bits().word());
   const U32 last = first | ((U32{1} << bitsShortOf(level(), length)) - 1);
   const U32 longer = ~keyi(level(), lengthMask(length));
   for (U32 entry = first; entry <= last; ++entry) {
      if ((routeByte(entry) & longer) != 0 || child(entry) != nullptr) {
         return true;
      }
   }
   return false;
}

TrieNode* TrieNode::parent(const Corenet::Prefix& prefix, TrieNode* root) {
   if (level() == 0) {
      return nullptr;
   }
   const U32 address = prefix.bits().word();
   TrieNode* node = root;
   for (U32 above = 0; above + 1 < level(); ++above) {
      node = node->child(keyi(above, address));
      ROUTETRIE_ASSERT(node);
   }
   return node;
}

}  // namespace TrieImpl
