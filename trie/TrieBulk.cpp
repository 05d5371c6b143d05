// The longest match of a multibit trie as a descent in steps, for bursts of queries. A node above the leaves takes two: the
// first fetches the entry's route byte and the child's slot, which may lie in other lines than the header, and the second
// reads them and fetches the child.
#include "trie/BulkDescent.h"
#include "trie/Trie.h"
#include "trie/TrieLengths.h"

namespace Routing {

using namespace TrieImpl;

namespace {

class LongestMatchDescent {
  public:
   using Query = Corenet::Prefix;
   struct State {
      const TrieNode* node;
      U32 address;  // host order
      U32 allowed;  // bit 32 - L for each length L that an answer may have
      U32 lengths;  // bit 32 - L for each route of length L so far
      U32 level;
      bool entryIsFetched;
   };

   explicit LongestMatchDescent(const Trie& trie) : trie_(trie) {}

   bool begin(State& state, const Query& query) const {
      state.node = trie_.root();
      state.address = query.bits().word();
      state.allowed = lengthMask(query.len());
      state.lengths = 0;
      state.level = 0;
      state.entryIsFetched = false;
      return true;
   }

   [[gnu::always_inline]] bool step(State& state) const {
      const TrieNode* node = state.node;
      const U32 key = levelKey(state.level, state.address);
      if (state.level == leafLevel) {
         state.lengths |= node->routeByteOfLeaf(key);
         return false;
      }
      if (!state.entryIsFetched) {
         if (state.level <= 1) {
            __builtin_prefetch(&node->routeByteAboveLeaf(key));
         }
         if (node->isIndirect()) {
            __builtin_prefetch(&node->u_.indirect_[key]);
         }
         state.entryIsFetched = true;
         return true;
      }
      state.lengths |= U32{node->routeByteAboveLeaf(key)} << (32 - levelEndBit[state.level]);
      node = node->child(key);
      if (node == nullptr) {
         return false;
      }
      ++state.level;
      fetchAhead(node, state.level == 1           ? sizeof(TrieNode)
                       : state.level == leafLevel ? sizeof(TrieNodeLeaf)
                                                  : sizeof(TrieNodeInternal));
      state.node = node;
      state.entryIsFetched = false;
      return true;
   }

   Query answer(const State& state) const {
      return longestOf(state.lengths & state.allowed, state.address, trie_.defaultRoutePresent());
   }

  private:
   static U32 levelKey(U32 level, U32 address) {
      return address >> (32 - levelEndBit[level]) & (levelEntries[level] - 1);
   }

   const Trie& trie_;
};

}  // namespace

void Trie::longestMatchBulk(std::span<const Corenet::Prefix> prefixes, std::span<Corenet::Prefix> answers) const {
   answerInBulk(LongestMatchDescent(*this), prefixes, answers);
}

}  // namespace Routing
