// The questions to a multibit trie: they change nothing, allocate nothing and visit at most six nodes.
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieTrace.h"

namespace Routing {

using namespace TrieImpl;

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
