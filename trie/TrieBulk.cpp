// The longest match of a multibit trie for a burst of queries. A group of them goes down together, one level at a time and
// without a branch that depends on a query, so that the memory which all of them wait for next is asked for at once. A query
// whose way ends goes on in a node without routes or children. Below level 3, where hardly a query gets to, each goes alone.
//
// The technique is group prefetching (Chen, Ailamaki, Gibbons, Mowry: Improving hash join performance through prefetching,
// 2004).
// Tested by tests/property/BulkTest.cpp.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "platform/Corvid/Assert.h"
#include "trie/Trie.h"
#include "trie/TrieLengths.h"

namespace Routing {

using namespace TrieImpl;

namespace {

// A node of any level above the leaves that holds nothing.
constexpr TrieNodeRoot bareNode{};

constinit TrieNode* const noChild = nullptr;

// Where the pointer to the child of that key stands: in the node's array, in the node, or, if there is none, where a null does.
// By arithmetic, since a guess at the node's form or at the child's place is wrong too often.
[[gnu::always_inline]] inline TrieNode* const* childPlace(const TrieNode& node, U32 key) {
   using Bits = std::uintptr_t;
   const auto pick = [](bool first, Bits a, Bits b) { return b ^ ((a ^ b) & (Bits{0} - Bits{first})); };
   const auto bits = [](TrieNode* const* place) { return reinterpret_cast<Bits>(place); };
   const U32 filled = (U32{1} << node.children() % 32) - 1;
   const U32 hits =
      (U32{node.childKey_[0] == key} | U32{node.childKey_[1] == key} << 1 | U32{node.childKey_[2] == key} << 2) &
      filled;
   const U32 slot = static_cast<U32>(std::countr_zero(hits | 1U << (TrieNode::directChildren - 1)));
   const Bits direct = pick(hits != 0, bits(node.u_.direct_ + slot), bits(&noChild));
   return reinterpret_cast<TrieNode* const*>(
      pick(node.isIndirect(), bits(node.u_.indirect_) + key * sizeof(TrieNode*), direct));
}

class Group {
  public:
   static constexpr std::size_t size = 64;

   // Requires: there are at most `size` queries, and as many answers.
   void run(const Trie& trie, std::span<const Corenet::Prefix> queries, std::span<Corenet::Prefix> answers) {
      count_ = queries.size();
      const TrieNode& root = *trie.root();
      for (std::size_t i = 0; i < count_; ++i) {
         address_[i] = queries[i].bits().word();
         lengths_[i] = routesAt<0>(root, address_[i]);
         goTo<1>(i, root.child(keyi(0, address_[i])));
      }
      findChildren<1>();
      toChildren<1>();
      findChildren<2>();
      toChildren<2>();
      finish();
      const bool defaultRoutePresent = trie.defaultRoutePresent();
      for (std::size_t i = 0; i < count_; ++i) {
         answers[i] = longestOf(lengths_[i] & lengthMask(queries[i].len()), address_[i], defaultRoutePresent);
      }
   }

  private:
   template <U32 level>
   void findChildren() {
      for (std::size_t i = 0; i < count_; ++i) {
         place_[i] = childPlace(*node_[i], keyi(level, address_[i]));
         __builtin_prefetch(place_[i]);
      }
   }

   template <U32 level>
   void toChildren() {
      for (std::size_t i = 0; i < count_; ++i) {
         lengths_[i] |= routesAt<level>(*node_[i], address_[i]);
         goTo<level + 1>(i, *place_[i]);
      }
   }

   template <U32 level>
   [[gnu::always_inline]] void goTo(std::size_t i, const TrieNode* node) {
      node_[i] = node != nullptr ? node : &bareNode;
      __builtin_prefetch(node_[i]);
      __builtin_prefetch(&node_[i]->routeByteAboveLeaf(keyi(level, address_[i])));
   }

   // Level 3, and what there is below.
   void finish() {
      std::size_t further = 0;
      for (std::size_t i = 0; i < count_; ++i) {
         lengths_[i] |= routesAt<3>(*node_[i], address_[i]);
         further_[further] = static_cast<U8>(i);
         further += node_[i]->children() != 0;
      }
      for (std::size_t j = 0; j < further; ++j) {
         const std::size_t i = further_[j];
         if (const TrieNode* node = node_[i]->child(keyi(3, address_[i]))) {
            lengths_[i] |= routesAt<4>(*node, address_[i]);
            if (const TrieNode* leaf = node->child(keyi(4, address_[i]))) {
               lengths_[i] |= leaf->routeByteOfLeaf(keyi(5, address_[i]));
            }
         }
      }
   }

   // Bit 32 - L for each length L of a route that the node has on the way to the address.
   template <U32 level>
   static U32 routesAt(const TrieNode& node, U32 address) {
      return U32{node.routeByteAboveLeaf(keyi(level, address))} << (32 - levelEndBit[level]);
   }

   std::size_t count_;
   // By query.
   std::array<U32, size> address_;
   std::array<U32, size> lengths_;
   std::array<const TrieNode*, size> node_;
   std::array<TrieNode* const*, size> place_;
   std::array<U8, size> further_;  // the queries whose way goes on below level 3
};

}  // namespace

void Trie::longestMatchBulk(std::span<const Corenet::Prefix> prefixes, std::span<Corenet::Prefix> answers) const {
   ROUTETRIE_ASSERT(prefixes.size() == answers.size(), "queries.size() == answers.size()");
   Group group;
   for (std::size_t at = 0; at < prefixes.size(); at += Group::size) {
      const std::size_t count = std::min(Group::size, prefixes.size() - at);
      group.run(*this, prefixes.subspan(at, count), answers.subspan(at, count));
   }
}

}  // namespace Routing
