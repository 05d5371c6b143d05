#include "routetrie/trie/patricia/PatriciaTrieNodeWithDataImpl.h"

namespace Routing {

using PatriciaTrieImpl::trieVisit;

void setPrefixData(PatriciaTrieNode* node, PatriciaTrieNodeType type, U32 len, const Corvid::Ptr<PrefixData>& data) {
   const Corvid::Ptr<PrefixData> held = data;
   trieVisit<NodeWithDataPicker>(type, node, [&](auto* withData) { withData->dataIs(len, held); });
}

Corvid::Ptr<PrefixData> delPrefixData(PatriciaTrieNode* node, PatriciaTrieNodeType type, U32 len,
                                      const Corvid::Ptr<PrefixData>& data) {
   const Corvid::Ptr<PrefixData> held = data;
   return trieVisit<NodeWithDataPicker>(type, node, [&](auto* withData) { return withData->dataDel(len, held); });
}

void delPrefixDataAll(PatriciaTrieNode* node, PatriciaTrieNodeType type, bool nodeData) {
   if (nodeData) {
      trieVisit<NodeWithDataPicker>(type, node, [](auto* withData) { withData->dataDelAll(); });
   }
}

PrefixData* getNodeData(PatriciaTrieNodeType type, PatriciaTrieNode* node, U32 len) {
   return trieVisit<NodeWithDataPicker>(type, node, [&](auto* withData) { return withData->data(len); });
}

void setPrefixDataFromNode(PatriciaTrieNode* node, PatriciaTrieNodeType type, U32 len,
                           const Corvid::Ptr<PrefixDataContainer>& container) {
   if (container) {
      container->prefixDataIs(getNodeData(type, node, len));
   }
}

}  // namespace Routing
