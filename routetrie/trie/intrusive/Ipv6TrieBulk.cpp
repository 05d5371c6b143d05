// The longest match of an Ipv6Trie as a descent in steps, one node a step, for bursts of queries. The last route passed is
// kept on the way, where a single search climbs back to it.
#include "routetrie/trie/BulkDescent.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"

namespace Sprig {

namespace {

class LongestMatchDescent {
  public:
   using Query = Corenet::Ip6Prefix;
   using Answer = Ipv6TrieRoute*;
   using Node = Ipv6Trie::Engine::NodeBase;
   struct State {
      Corenet::PrefixDataAndLength prefix;
      const Node* node;     // the one to look at
      Ipv6TrieRoute* best;  // the last route passed
      U8 known;             // bits that the prefix shares with the node above
   };

   explicit LongestMatchDescent(const Ipv6Trie& trie) : root_(trie.trie().root()) {}

   bool begin(State& state, const Query& query) const {
      state = {Ipv6TrieRoute::viewOf(query), root_, nullptr, 0};
      return root_ != nullptr;
   }

   [[gnu::always_inline]] bool step(State& state) const {
      using Difference = Intrusive::Impl::CompareResult::Difference;
      const Node& node = *state.node;
      const auto result = Intrusive::Impl::compare(state.prefix, Node::prefixOf(node), state.known);
      const bool isPassed = result.passes();
      if ((isPassed || result.difference == Difference::none) && !node.isInternal()) {
         state.best = static_cast<const Ipv6TrieRoute::TrieNode&>(node).owner();
      }
      if (!isPassed) {
         return false;
      }
      state.known = result.commonLength;
      // By arithmetic: others of the burst keep the memory busy, and a wrong guess would only cost.
      const auto side = Node::childType(result.difference == Difference::lhsLongerAndSet);
      state.node = *Node::slotOf(const_cast<Node*>(&node), side);
      if (state.node == nullptr) {
         return false;
      }
      Routing::fetchAhead(state.node);
      return true;
   }

   Answer answer(const State& state) const { return state.best; }

  private:
   const Node* root_;
};

}  // namespace

void Ipv6Trie::longestMatchBulk(std::span<const Corenet::Ip6Prefix> prefixes,
                                std::span<Ipv6TrieRoute*> answers) const {
   Routing::answerInBulk(LongestMatchDescent(*this), prefixes, answers);
}

}  // namespace Sprig
