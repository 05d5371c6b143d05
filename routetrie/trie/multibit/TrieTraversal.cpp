// Walks over a multibit trie, and the route after a route. Both go by ascending address, and for one address shorter before
// longer: at each entry of a node first the routes that begin there, then the child.
#include <bit>
#include <type_traits>

#include "routetrie/trie/WalkGuard.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieInversion.h"
#include "routetrie/trie/multibit/TrieTrace.h"

namespace Routing {

using namespace TrieImpl;
using Tesk::dec;
using Tesk::endl;
using Tesk::hex;

namespace {

// An entry of a node of a level, and how its routes are called.
template <U32 level>
struct Place {
   static constexpr U32 stride = levelStride[level];

   Place(const TrieNode& node, U32 nodeAddress, U32 entry)
      : prefix(nodeAddress),
        i(entry),
        bitMap(level == leafLevel ? node.routeByteOfLeaf(entry) : node.routeByteAboveLeaf(entry)) {}

   // The route bits that begin here.
   U32 firstBits() const {
      if (bitMap == 0) {
         return 0;
      }
      // The traced form only where there is a trace: it is a call for each entry.
      return bitMap & (trieTrace.isOn(7) ? prefixBoundary(static_cast<int>(level), static_cast<int>(i))
                                         : boundaryBits(stride, i));
   }
   // How far the shortest of `bits` goes into the node. Bits beyond the stride, of a damaged byte, make it wrap below 1.
   // Requires: `bits` is not 0.
   static U32 bitPosOf(U32 bits) { return stride + 1 - static_cast<U32>(std::bit_width(bits)); }
   static U32 routeBit(U32 bitPos) { return U32{1} << (stride - bitPos); }
   U32 address(U32 bitPos) const { return routeAddress(level, prefix, i, bitPos); }
   static U32 length(U32 bitPos) { return levelEndBit[level] - stride + bitPos; }
   // Raises Corvid::RangeException for a damaged byte, if what it spells is no prefix.
   Corenet::Prefix route(U32 bitPos) const { return {Corenet::IpAddr(address(bitPos)), length(bitPos)}; }
   U32 childAddress() const { return address(stride); }
   // Whether a walk that begins within this node, `lenWithinNode` - 1 bits before its end, has this route above it. 0 is a
   // walk that has begun further up. A figure below 0, the null prefix's, has every route above it.
   static bool isAbove(U32 bitPos, U32 lenWithinNode) {
      return lenWithinNode != 0 && bitPos < stride + 1 - lenWithinNode;
   }

   const U32 prefix;  // the node's address, in host order
   const U32 i;
   const U32 bitMap;
};

// Calls `use` with the level as a constant.
template <class Use>
decltype(auto) atLevel(U32 level, Use&& use) {
   switch (level) {
      case 0: return use(std::integral_constant<U32, 0>());
      case 1: return use(std::integral_constant<U32, 1>());
      case 2: return use(std::integral_constant<U32, 2>());
      case 3: return use(std::integral_constant<U32, 3>());
      case 4: return use(std::integral_constant<U32, 4>());
      default: return use(std::integral_constant<U32, leafLevel>());
   }
}

// Reports the routes that begin at an entry, shortest first. If one is refused, the number of entries that it covers; 0
// otherwise.
template <U32 level>
U32 processBits(const Place<level>& place, U32 lenWithinNode, TrieWalkCallback& callback) {
   for (U32 bitMap = place.firstBits(); bitMap != 0;) {
      const U32 bitPos = place.bitPosOf(bitMap);
      if (place.isAbove(bitPos, lenWithinNode)) {
         ROUTETRIE_TRACE(trieTrace, 7) << " Not reporting bitPos = " << bitPos
                                       << " because lenWithinNode = " << lenWithinNode << endl;
         bitMap &= ~place.routeBit(bitPos);
         continue;
      }
      ROUTETRIE_TRACE(trieTrace, 7) << hex << "prefix = " << place.prefix << " bitMap = " << bitMap
                                    << " bitPos = " << bitPos << endl;
      ROUTETRIE_TRACE(trieTrace, 7) << hex << "prefix = " << place.address(bitPos) << " len = " << dec
                                    << place.length(bitPos) << endl;
      if (callback.handlePrefix(place.route(bitPos)) == 0) {
         const U32 skipLen = place.routeBit(bitPos);
         ROUTETRIE_TRACE(trieTrace, 7) << " skipLen = " << skipLen << endl;
         return skipLen;
      }
      bitMap &= ~place.routeBit(bitPos);
      ROUTETRIE_TRACE(trieTrace, 7) << " After removing msb from bitMap, bitMap = " << hex << bitMap << endl;
   }
   return 0;
}

// Fetches ahead what a walk of a node's entries will read first of each child.
void fetchChild(const TrieNode* child) {
   __builtin_prefetch(child);
   __builtin_prefetch(reinterpret_cast<const char*>(child) + sizeof(TrieNode));
}

// All children of a small node.
void fetchChildren(const TrieNode& node) {
   if (!node.isIndirect()) {
      for (U32 slot = 0; slot < node.children(); ++slot) {
         fetchChild(node.u_.direct_[slot]);
      }
      return;
   }
   for (U32 i = 0; i < levelEntries[leafLevel]; ++i) {
      if (const TrieNode* child = node.u_.indirect_[i]) {
         fetchChild(child);
      }
   }
}

// Of a large node in indirect form the child two entries on, and the array of the one before that.
void fetchNext(const TrieNode& node, U32 i, U32 end) {
   if (i + 2 < end) {
      if (const TrieNode* child = node.u_.indirect_[i + 2]) {
         fetchChild(child);
      }
      if (const TrieNode* child = node.u_.indirect_[i + 1]; child != nullptr && child->isIndirect()) {
         __builtin_prefetch(child->u_.indirect_);
         __builtin_prefetch(child->u_.indirect_ + 8);
      }
   }
}

// Walks the entries of a node from `start` up to `end`. `lenWithinNode` holds for all of them: see Place::isAbove.
template <U32 level>
void visit(const TrieNode* node, U32 prefix, U32 start, U32 end, U32 lenWithinNode, TrieWalkCallback& callback) {
   if (node == nullptr) {
      return;
   }
   if constexpr (level >= 2 && level < leafLevel) {
      fetchChildren(*node);
   }
   for (U32 i = start; i < end;) {
      const Place<level> place(*node, prefix, i);
      ROUTETRIE_TRACE(trieTrace, 8) << hex << " i = " << i << " bitMap = " << place.bitMap << endl;
      if (const U32 skipLen = processBits(place, lenWithinNode, callback); skipLen != 0) {
         i += skipLen;
         continue;
      }
      if constexpr (level < leafLevel) {
         if (node->children() != 0) {
            const U32 p = place.childAddress();
            constexpr U32 below = levelEntries[level + 1];
            if (node->isIndirect()) {
               if constexpr (level == 1) {
                  fetchNext(*node, i, end);
               }
               ROUTETRIE_TRACE(trieTrace, 7) << " visit child i = " << i << " p = " << p << endl;
               visit<level + 1>(node->u_.indirect_[i], p, 0, below, 0, callback);
            } else {
               for (U32 slot = 0; slot < node->children(); ++slot) {
                  if (node->childKey_[slot] == i) {
                     ROUTETRIE_TRACE(trieTrace, 7) << hex << " visit child  = 0x" << node->childKey_[slot]
                                                   << " i = " << i << " p = " << p << endl;
                     visit<level + 1>(node->u_.direct_[slot], p, 0, below, 0, callback);
                  }
               }
            }
         }
      }
      ++i;
   }
}

// The first route but `exclude` from entry `start` of a node up to `end`; 0.0.0.0/0 if there is none. `lenWithinNode` holds for
// the first entry alone, where the routes above the one that was asked about begin, too.
template <U32 level>
Corenet::Prefix getNextRecurHelper(const TrieNode* node, U32 prefix, U32 start, U32 end, U32 lenWithinNode,
                                   const Corenet::Prefix& exclude) {
   for (U32 i = start; i < end; ++i) {
      const Place<level> place(*node, prefix, i);
      for (U32 bitMap = place.firstBits(); bitMap != 0;) {
         const U32 bitPos = place.bitPosOf(bitMap);
         bitMap &= ~place.routeBit(bitPos);
         if (!place.isAbove(bitPos, lenWithinNode)) {
            const Corenet::Prefix route = place.route(bitPos);
            if (route != exclude) {
               return route;
            }
         }
      }
      lenWithinNode = 0;
      if constexpr (level < leafLevel) {
         if (const TrieNode* child = node->child(i)) {
            const Corenet::Prefix found =
               getNextRecurHelper<level + 1>(child, place.childAddress(), 0, levelEntries[level + 1], 0, exclude);
            if (found.len() != 0) {
               return found;
            }
         }
      }
   }
   return {};
}

}  // namespace

void Trie::preOrderWalk(const Corenet::Prefix& subtreeRoot, const Corvid::Ptr<TrieWalkCallback>& callback) {
   walkRoutes(subtreeRoot, callback);
}

void Trie::walkRoutes(const Corenet::Prefix& subtreeRoot, const Corvid::Ptr<TrieWalkCallback>& callback) const {
   ROUTETRIE_WALKING(this);
   // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): whatever becomes of the caller's reference
   const Corvid::Ptr<TrieWalkCallback> held = callback;
   if (subtreeRoot.len() == 0) {
      if (defaultRoutePresent_) {
         ROUTETRIE_TRACE(trieTrace, 6, "preOrderWalk") << "preOrderWalk"
                                                       << "Visiting default route ";
         if (held->handlePrefix(Corenet::Prefix()) == 0) {
            return;
         }
      }
      visit<0>(root_, 0, 0, levelEntries[0], 0, *held);
      return;
   }
   const TrieNode* node = lpmNode(root_, subtreeRoot);
   if (node == nullptr) {
      ROUTETRIE_TRACE(trieTrace, 6, "preOrderWalk") << "subtree doesn't exist for " << subtreeRoot << endl;
      return;
   }
   const U32 address = subtreeRoot.bits().word();
   const U32 level = node->level();
   const U32 shortOf = bitsShortOf(level, subtreeRoot.len());
   const U32 lenWithinNode = lengthWithinNode(level, subtreeRoot.len());
   const U32 start = keyi(level, address);
   // With its sign, which tells the null prefix.
   ROUTETRIE_TRACE(trieTrace, 6, "preOrderWalk")
      << " LPM = " << subtreeRoot << static_cast<int>(lenWithinNode) << static_cast<int>(lenWithinNode);
   atLevel(level, [&]<U32 known>(std::integral_constant<U32, known>) {
      visit<known>(node, nodeAddress(known, address), start, start + (U32{1} << shortOf), lenWithinNode, *held);
   });
}

void Trie::preOrderWalkCompact(const Corenet::CompactIpPrefix& subtreeRoot,
                               const Corvid::Ptr<PatriciaTrieCompactWalkCb>& callback) {
   preOrderWalk(subtreeRoot.ipv4(), Corvid::ptrIsImpl<TrieWalkCallbackWrapper>(callback));
}

Corenet::Prefix Trie::getNext(const Corenet::Prefix& prefix) const {
   ROUTETRIE_TRACE(trieTrace, 8) << "getNext"
                                 << " prefix " << prefix;
   if (prefix.len() != 0 && longestMatch(prefix) != prefix) {
      return {};
   }
   TrieNode* node = lpmNode(root_, prefix);
   if (node == nullptr) {
      return {};
   }
   const U32 address = prefix.bits().word();
   U32 start = keyi(node->level(), address);
   U32 lenWithinNode = lengthWithinNode(node->level(), prefix.len());
   ROUTETRIE_TRACE(trieTrace, 6) << " LPM = " << pfx(address, prefix.len());
   for (;;) {
      const U32 level = node->level();
      const Corenet::Prefix found = atLevel(level, [&]<U32 known>(std::integral_constant<U32, known>) {
         return getNextRecurHelper<known>(node, nodeAddress(known, address), start, levelEntries[known],
                                          lenWithinNode, prefix);
      });
      if (found.len() != 0) {
         return found;
      }
      node = node->parent(prefix, root_);
      if (node == nullptr) {
         return {};
      }
      start = keyi(node->level(), address) + 1;
      lenWithinNode = 0;
   }
}

}  // namespace Routing
