// PatriciaTrieBulk: the longest match of a Patricia trie as a descent in steps, one node a step, for bursts of queries. A
// Face is what the caller speaks: a prefix type of its own, over one of the two of the trie.
// Tested by tests/property/BulkTest.cpp.
#pragma once

#include <concepts>
#include <span>
#include <type_traits>

#include "routetrie/trie/BulkDescent.h"
#include "routetrie/trie/patricia/PatriciaTrieAnswer.h"

namespace Routing {

// The trie's own prefix types, as they are.
template <RoutePrefix PrefixType>
struct OwnFace {
   using Prefix = PrefixType;
   using Asked = PrefixType;
   static const PrefixType& asked(const PrefixType& query) { return query; }
   static PrefixType answered(const PrefixType& found, Corenet::AddressFamily) { return found; }
};

template <class NodeClass, class Face>
class LongestMatchDescent {
  public:
   using Query = typename Face::Prefix;
   using Asked = typename Face::Asked;
   struct State {
      Routing::Query<NodeClass> query;
      NodeClass* node;    // the one to look at; null past the end of the way
      NodeClass* passed;  // the last node passed that has routes
      Corenet::AddressFamily af;
   };

   explicit LongestMatchDescent(const PatriciaTrie& trie) : trie_(trie) {}

   bool begin(State& state, const Query& query) const {
      const Asked& asked = Face::asked(query);
      state.passed = nullptr;
      state.node = asked.len() == 0 ? nullptr : static_cast<NodeClass*>(trie_.root());
      state.af = asked.af();
      if (state.node == nullptr) {
         return false;
      }
      state.query = Routing::Query<NodeClass>(asked);
      return true;
   }

   [[gnu::always_inline]] bool step(State& state) const {
      NodeClass& node = *state.node;
      if (!state.query.passes(node)) {
         return false;
      }
      state.passed = node.isWhite() ? state.passed : &node;
      state.node = state.query.childOfPassed(node);
      if (state.node == nullptr) {
         return false;
      }
      fetchAhead(state.node);
      return true;
   }

   Query answer(const State& state) const { return Face::answered(found(state), state.af); }

  private:
   Asked found(const State& state) const {
      Found<NodeClass> best = longestOfPassed(state.passed);
      if (state.node != nullptr) {
         const Found<NodeClass> last{state.node, state.node->prevBlack(state.query.commonLength(*state.node))};
         best = last.length != 0 ? last : best;
      }
      if (best.node != nullptr) {
         return best.template prefix<Asked>();
      }
      return trie_.defaultRoutePresent() ? defaultAnswer<Asked>(state.af) : Asked();
   }

   const PatriciaTrie& trie_;
};

// The longest match of each query, as the face answers it.
template <class Face>
void longestMatchBulkAs(const PatriciaTrie& trie, std::span<const typename Face::Prefix> queries,
                        std::span<typename Face::Prefix> answers) {
   PatriciaTrieImpl::nodeClassVisit<PatriciaTrieImpl::NodePicker>(
      trie.paf(), [&]<class NodeClass>(std::type_identity<NodeClass>) {
         answerInBulk(LongestMatchDescent<NodeClass, Face>(trie), queries, answers);
      });
}

}  // namespace Routing
