#include "routetrie/trie/patricia/PatriciaTrie.h"

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/WalkGuard.h"
#include "routetrie/trie/patricia/PatriciaTrieNodeWithDataImpl.h"

namespace Routing {

using PatriciaTrieImpl::nodeClassVisit;
using PatriciaTrieImpl::NodePicker;

Tesk::AllocTrackTypeInfo* PatriciaTrie::memAllocationTracker_ = nullptr;

PatriciaTrie::PatriciaTrie(Corenet::AddressFamily af, bool useCompactIpPrefix)
   : af_(af == Corenet::AddressFamily::none ? Corenet::ipv4() : af),
     paf_(PatriciaTrieImpl::patriciaTrieNodeType(af_, useCompactIpPrefix)),
     useCompactIpPrefix_(useCompactIpPrefix) {}

PatriciaTrie::~PatriciaTrie() {
   nodeFlagSet(Corvid::nodeFlagAlive, false);
   handleDeletion();
}

Corvid::Ptr<PatriciaTrie> PatriciaTrie::PatriciaTrieIs(Corenet::AddressFamily af, bool useCompactIpPrefix) {
   return Corvid::ptrIsImpl<PatriciaTrie>(af, useCompactIpPrefix);
}

Corvid::Ptr<PatriciaTrie> patriciaTrieFactory(Corenet::AddressFamily af, bool useCompactIpPrefix) {
   return PatriciaTrie::PatriciaTrieIs(af, useCompactIpPrefix);
}

void PatriciaTrie::handleInitialized() {
   ROUTETRIE_CHANGING(this);
   root_ = nullptr;
   if (af_ == Corenet::AddressFamily::none) {
      af_ = Corenet::ipv4;
   }
   paf_ = PatriciaTrieImpl::patriciaTrieNodeType(af_, useCompactIpPrefix_);
}

void PatriciaTrie::handleDeletion() {
   ROUTETRIE_CHANGING(this);
   ROUTETRIE_ASSERT(0 == iterators());
   deleteNode(root_, paf_, nodeDataEnabled_);
   defaultRoutePresent_ = false;
   defaultRouteNodeData_ = nullptr;
   nodes_ = 0;
   routes_ = 0;
   root_ = nullptr;
}

namespace {

template <class NodeClass>
void deleteSubtree(PatriciaTrieNode* node) {
   if (node != nullptr) {
      deleteSubtree<NodeClass>(node->left_);
      deleteSubtree<NodeClass>(node->right_);
      delete static_cast<NodeClass*>(node);
   }
}

// Calls `visitor` with the class of a trie's nodes, with data or plain.
template <class Visitor>
void ownNodeClassVisit(PatriciaTrieNodeType type, bool nodeData, Visitor&& visitor) {
   if (nodeData) {
      nodeClassVisit<NodeWithDataPicker>(type, visitor);
   } else {
      nodeClassVisit<NodePicker>(type, visitor);
   }
}

}  // namespace

void deleteSingleNode(PatriciaTrieNode* node, PatriciaTrieNodeType type, bool nodeData) {
   ownNodeClassVisit(type, nodeData,
                     [&]<class NodeClass>(std::type_identity<NodeClass>) { delete static_cast<NodeClass*>(node); });
}

void deleteNode(PatriciaTrieNode* node, PatriciaTrieNodeType type, bool nodeData) {
   ownNodeClassVisit(type, nodeData,
                     [&]<class NodeClass>(std::type_identity<NodeClass>) { deleteSubtree<NodeClass>(node); });
}

}  // namespace Routing
