// TrieBulk: the longest match of a multibit trie as a descent in stages, for bursts of queries. No stage has a branch that
// depends on a query, so that the memory which all of them wait for next is asked for at once: a query whose way ends goes
// on in a node without routes or children. Below level 3, where hardly a query gets to, each goes alone. A Face is what
// the caller speaks: a prefix type of its own, for the trie's.
// Tested by tests/property/BulkTest.cpp.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "routetrie/trie/BulkDescent.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieLengths.h"

namespace TrieImpl {

// A node of any level above the leaves that holds nothing.
inline constexpr TrieNodeRoot bareNode{};

inline constinit TrieNode* const noChild = nullptr;

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

}  // namespace TrieImpl

namespace Routing {

template <class Face>
class TrieDescent {
  public:
   using Query = typename Face::Prefix;
   struct State {
      U32 address;  // in host order
      U32 allowed;  // the lengths that may answer
      U32 lengths;  // of the routes found so far; bit 32 - L is for length L
      const TrieImpl::TrieNode* node;
      TrieImpl::TrieNode* const* place;  // where the pointer to the next node stands
   };
   static constexpr std::size_t stages = 5;

   explicit TrieDescent(const Trie& trie) : root_(*trie.root()), defaultRoutePresent_(trie.defaultRoutePresent()) {}

   [[gnu::always_inline]] void begin(State& state, const Query& query) const {
      const Corenet::Prefix asked = Face::asked(query);
      state.address = asked.bits().word();
      state.allowed = TrieImpl::lengthMask(asked.len());
      state.lengths = lengthsAt<0>(root_, state.address);
      goTo<1>(state, root_.child(keyi(0, state.address)));
   }

   template <std::size_t n>
   [[gnu::always_inline]] void stage(State& state) const {
      constexpr U32 level = n / 2 + 1;
      if constexpr (n == 4) {
         finish(state);
      } else if constexpr (n % 2 == 0) {
         state.place = TrieImpl::childPlace(*state.node, keyi(level, state.address));
         __builtin_prefetch(state.place);
      } else {
         state.lengths |= lengthsAt<level>(*state.node, state.address);
         goTo<level + 1>(state, *state.place);
      }
   }

   Query answer(const State& state) const {
      return Face::answered(longestOf(state.lengths & state.allowed, state.address, defaultRoutePresent_));
   }

  private:
   template <U32 level>
   [[gnu::always_inline]] static void goTo(State& state, const TrieImpl::TrieNode* node) {
      state.node = node != nullptr ? node : &TrieImpl::bareNode;
      __builtin_prefetch(state.node);
      __builtin_prefetch(&state.node->routeByteAboveLeaf(keyi(level, state.address)));
   }

   // Level 3, and what there is below.
   [[gnu::always_inline]] static void finish(State& state) {
      state.lengths |= lengthsAt<3>(*state.node, state.address);
      if (state.node->children() == 0) [[likely]] {
         return;
      }
      if (const auto* node = state.node->child(keyi(3, state.address))) {
         state.lengths |= lengthsAt<4>(*node, state.address);
         if (const auto* leaf = node->child(keyi(4, state.address))) {
            state.lengths |= lengthsAt<5>(*leaf, state.address);
         }
      }
   }

   const TrieImpl::TrieNode& root_;
   const bool defaultRoutePresent_;
};

// The longest match of each query, as the face answers it.
template <class Face>
void longestMatchBulkAs(const Trie& trie, std::span<const typename Face::Prefix> queries,
                        std::span<typename Face::Prefix> answers) {
   answerInBulk(TrieDescent<Face>(trie), queries, answers);
}

}  // namespace Routing
