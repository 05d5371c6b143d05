#include "routetrie/trie/patricia/PatriciaTrieIterator.h"

#include <type_traits>

#include "routetrie/platform/BriskTrace/BriskTrace.h"
#include "routetrie/trie/patricia/PatriciaTrieDescent.h"
#include "routetrie/trie/patricia/PatriciaTrieKey.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* PatriciaTrieIteratorCb::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* PatriciaTrieCompactIteratorCb::memAllocationTracker_ = nullptr;

PatriciaTrieIteratorCb::~PatriciaTrieIteratorCb() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

PatriciaTrieCompactIteratorCb::~PatriciaTrieCompactIteratorCb() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

void PatriciaTrieIteratorTriePtr::iterDec() {
   ROUTETRIE_ASSERT(0 != (*this)->iterators(), "0 != ( *this )->iterators()");
   (*this)->iteratorsDec(1);
}

namespace {

// Leaves word of a new iterator in the process's trace file, if there is one.
void recordConstruction() {
   if (BriskTrace::TraceFile* file = BriskTrace::defaultBriskTraceHandle.mtTraceFile()) {
      static int msgId = 0;
      BriskTrace::MsgDesc message(file, &msgId, "PatriciaTrieIterator", __LINE__);
      message << "PatriciaTrieIteratorImpl::"
              << "PatriciaTrieIteratorImpl";
      message.finish();
      file->record(static_cast<U32>(msgId), BriskTrace::timeStamp());
   }
}

}  // namespace

template <RoutePrefix PrefixType, class CallbackType>
requires IteratorCallback<CallbackType, PrefixType>
PatriciaTrieIteratorImpl<PrefixType, CallbackType>::PatriciaTrieIteratorImpl(
   const Corvid::Ptr<PatriciaTrie>& trie, const Corvid::Ptr<CallbackType>& callback)
   : trie_(trie), callback_(callback) {
   recordConstruction();
   if (!trie_) {
      return;
   }
   if (trie_->root() != nullptr) {
      nodes_.push_back(trie_->root());
   }
   findNextFirstPrefix();
}

template <RoutePrefix PrefixType, class CallbackType>
requires IteratorCallback<CallbackType, PrefixType>
void PatriciaTrieIteratorImpl<PrefixType, CallbackType>::swap(PatriciaTrieIteratorImpl& other) noexcept {
   trie_.swap(other.trie_);
   callback_.swap(other.callback_);
   nodes_.swap(other.nodes_);
   std::swap(node_, other.node_);
   std::swap(black_, other.black_);
   std::swap(key_, other.key_);
   std::swap(defaultVisited_, other.defaultVisited_);
}

template <RoutePrefix PrefixType, class CallbackType>
requires IteratorCallback<CallbackType, PrefixType>
void PatriciaTrieIteratorImpl<PrefixType, CallbackType>::next() {
   if (*this) {
      findNextFirstPrefix();
   }
}

template <RoutePrefix PrefixType, class CallbackType>
requires IteratorCallback<CallbackType, PrefixType>
void PatriciaTrieIteratorImpl<PrefixType, CallbackType>::completeTopNode() {
   PatriciaTrieNode* const left = nodes_.back()->left_;
   PatriciaTrieNode* const right = nodes_.back()->right_;
   if (left != nullptr && right != nullptr) {
      __builtin_prefetch(right);  // its turn comes when the left subtree is done, often soon
      nodes_.push_back(left);
      nodes_[nodes_.size() - 2] = right;
   } else if (left != nullptr || right != nullptr) {
      nodes_.back() = left != nullptr ? left : right;
   } else {
      nodes_.pop_back();
   }
}

template <RoutePrefix PrefixType, class CallbackType>
requires IteratorCallback<CallbackType, PrefixType>
void PatriciaTrieIteratorImpl<PrefixType, CallbackType>::findNextFirstPrefix() {
   const bool found = PatriciaTrieImpl::nodeClassVisit<PatriciaTrieImpl::NodePicker>(
      trie_->paf(), [&]<class NodeClass>(std::type_identity<NodeClass>) { return findNextInNodes<NodeClass>(); });
   if (found) {
      return;
   }
   PrefixType last;
   if (trie_->defaultRoutePresent() && !defaultVisited_) {
      PrefixType defaultPrefix = getDefaultPrefix<PrefixType>(trie_->af());
      if (!isSkipped(defaultPrefix)) {
         last = std::move(defaultPrefix);
      }
      defaultVisited_ = true;
   }
   key_ = std::move(last);
}

// Leaves key_ on the next route that is in a node; false if there is none.
template <RoutePrefix PrefixType, class CallbackType>
requires IteratorCallback<CallbackType, PrefixType>
template <class NodeClass>
bool PatriciaTrieIteratorImpl<PrefixType, CallbackType>::findNextInNodes() {
   while (!nodes_.empty()) {
      auto* top = static_cast<NodeClass*>(nodes_.back());
      for (U32 black = node_ != nullptr ? top->nextBlack(black_) : top->firstBlack(); black != 0;
           black = top->nextBlack(black)) {
         PrefixType route = routeOf<PrefixType>(*top, black);
         if (!isSkipped(route)) {
            node_ = top;
            black_ = black;
            key_ = std::move(route);
            return true;
         }
      }
      completeTopNode();
      node_ = nullptr;
   }
   return false;
}

template class PatriciaTrieIteratorImpl<Corenet::IpGenPrefix, PatriciaTrieIteratorCb>;
template class PatriciaTrieIteratorImpl<Corenet::CompactIpPrefix, PatriciaTrieCompactIteratorCb>;

}  // namespace Routing
