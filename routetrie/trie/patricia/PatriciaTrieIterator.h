// PatriciaTrieIteratorImpl: a cursor over the routes of a PatriciaTrie, for a loop of the caller's own:
//
//    for (const auto& prefix : Routing::routesOf(trie)) { ... }
//
// Ascending by address, then by length, as a walk goes; but the default route comes last. Every route is passed once, and
// nothing leads back. A callback may leave routes out; that hides nothing beneath them.
//
// It keeps its place by pointers to nodes. So while it lives, the trie counts it in iterators(), and whatever would change
// the trie fails with "0 == iterators()"; reading is free. It keeps the trie alive, too.
//
//    state                  key()            nodes_                   node_
//    on a route in a node   the route        its back is that node    that node
//    on the default route   0.0.0.0/0, ::/0  empty                    null
//    at the end             empty            empty                    null
//
// nodes_ holds what is still to visit, its back being next: the node in hand and the right children on the way to it.
// Tested by tests/trie/patricia/PatriciaTrieIteratorTest.cpp.
#pragma once

#include <concepts>
#include <cstddef>
#include <deque>
#include <iterator>
#include <ranges>
#include <utility>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"

namespace Routing {

// Which routes an iterator leaves out. Called once for each route; it may read the trie.
class ROUTETRIE_EXPORT PatriciaTrieIteratorCb : public Corvid::Node {
  public:
   PatriciaTrieIteratorCb() = default;
   ~PatriciaTrieIteratorCb() override;
   Corvid::TypeData typeData() const override;

   virtual bool isPrefixSkip(const Corenet::IpGenPrefix& p) = 0;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieIteratorCb>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieIteratorCb>(memory, bytes);
   }
};

class ROUTETRIE_EXPORT PatriciaTrieCompactIteratorCb : public Corvid::Node {
  public:
   PatriciaTrieCompactIteratorCb() = default;
   ~PatriciaTrieCompactIteratorCb() override;
   Corvid::TypeData typeData() const override;

   virtual bool isPrefixSkip(const Corenet::CompactIpPrefix& p) = 0;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieCompactIteratorCb>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieCompactIteratorCb>(memory, bytes);
   }
};

// A counted pointer to a trie that is itself counted by the trie, in iterators().
class ROUTETRIE_EXPORT PatriciaTrieIteratorTriePtr : public Corvid::Ptr<PatriciaTrie> {
  public:
   PatriciaTrieIteratorTriePtr() noexcept = default;
   explicit PatriciaTrieIteratorTriePtr(const Corvid::Ptr<PatriciaTrie>& trie) : Ptr(trie) {
      if (*this) {
         (*this)->iteratorsInc(1);
      }
   }
   PatriciaTrieIteratorTriePtr(PatriciaTrieIteratorTriePtr&& other) noexcept = default;
   PatriciaTrieIteratorTriePtr& operator=(PatriciaTrieIteratorTriePtr&& other) noexcept {
      PatriciaTrieIteratorTriePtr(std::move(other)).swap(*this);
      return *this;
   }
   ~PatriciaTrieIteratorTriePtr() {
      if (*this) {
         iterDec();
      }
   }

  private:
   // Asserts "0 != ( *this )->iterators()".
   void iterDec();
};

// The callback's class for a prefix type.
template <class CallbackType, class PrefixType>
concept IteratorCallback = (std::same_as<PrefixType, Corenet::IpGenPrefix> &&
                            std::same_as<CallbackType, PatriciaTrieIteratorCb>) ||
                           (std::same_as<PrefixType, Corenet::CompactIpPrefix> &&
                            std::same_as<CallbackType, PatriciaTrieCompactIteratorCb>);

// Works on a trie of any node type. Movable; one that was moved from is at the end. Making, moving and stepping may raise
// std::bad_alloc, and a step what the callback raises: the iterator then stands where it stood.
template <RoutePrefix PrefixType, class CallbackType>
requires IteratorCallback<CallbackType, PrefixType>
class PatriciaTrieIteratorImpl {
  public:
   using value_type = PrefixType;
   using difference_type = std::ptrdiff_t;

   // On the first route that is not left out. The callback may be null, and so may the trie, which then has no routes.
   PatriciaTrieIteratorImpl(const Corvid::Ptr<PatriciaTrie>& trie, const Corvid::Ptr<CallbackType>& callback);
   // Both may raise std::bad_alloc: a deque allocates as it is made.
   // NOLINTNEXTLINE(performance-noexcept-move-constructor)
   PatriciaTrieIteratorImpl(PatriciaTrieIteratorImpl&& other) : PatriciaTrieIteratorImpl() { swap(other); }
   // NOLINTNEXTLINE(performance-noexcept-move-constructor)
   PatriciaTrieIteratorImpl& operator=(PatriciaTrieIteratorImpl&& other) {
      PatriciaTrieIteratorImpl(std::move(other)).swap(*this);
      return *this;
   }
   void swap(PatriciaTrieIteratorImpl& other) noexcept;

   // False at the end.
   operator bool() const { return !(key_ == PrefixType()); }  // NOLINT(google-explicit-constructor)
   // The route, or at the end the empty value: the all-zero IpGenPrefix, or the null compact value.
   PrefixType key() const { return key_; }
   PrefixType operator*() const { return key_; }
   const PatriciaTrieIteratorImpl* ptr() const noexcept { return this; }

   // To the next route that is not left out. Nothing at the end.
   void next();
   PatriciaTrieIteratorImpl& operator++() {
      next();
      return *this;
   }
   void operator++(int) { next(); }

   friend bool operator==(const PatriciaTrieIteratorImpl& iterator, std::default_sentinel_t) { return !iterator; }

  private:
   PatriciaTrieIteratorImpl() = default;

   // Leaves the back of nodes_ behind, and puts its children there. Changes nothing if it raises.
   void completeTopNode();
   // Leaves key_ on the next route, or empty.
   void findNextFirstPrefix();
   template <class NodeClass>
   bool findNextInNodes();
   bool isSkipped(const PrefixType& p) const { return callback_ && callback_->isPrefixSkip(p); }

   PatriciaTrieIteratorTriePtr trie_;
   Corvid::Ptr<CallbackType> callback_;
   std::deque<PatriciaTrieNode*> nodes_;
   PatriciaTrieNode* node_ = nullptr;  // whose lengths are in progress; null before a node is begun
   U32 black_ = 0;                     // the length of the route on node_, in bits
   PrefixType key_;
   bool defaultVisited_ = false;
};

extern template class ROUTETRIE_EXPORT PatriciaTrieIteratorImpl<Corenet::IpGenPrefix, PatriciaTrieIteratorCb>;
extern template class ROUTETRIE_EXPORT
   PatriciaTrieIteratorImpl<Corenet::CompactIpPrefix, PatriciaTrieCompactIteratorCb>;

using PatriciaTrieIterator = PatriciaTrieIteratorImpl<Corenet::IpGenPrefix, PatriciaTrieIteratorCb>;
using PatriciaTrieCompactIterator = PatriciaTrieIteratorImpl<Corenet::CompactIpPrefix, PatriciaTrieCompactIteratorCb>;

// The routes of a trie as an input range. It keeps the trie alive; only a live iterator of it forbids changes.
template <class Iterator, class CallbackType>
class PatriciaTrieRoutes : public std::ranges::view_base {
  public:
   PatriciaTrieRoutes(const Corvid::Ptr<PatriciaTrie>& trie, const Corvid::Ptr<CallbackType>& callback)
      : trie_(trie), callback_(callback) {}

   Iterator begin() const { return Iterator(trie_, callback_); }
   std::default_sentinel_t end() const noexcept { return {}; }

  private:
   Corvid::Ptr<PatriciaTrie> trie_;
   Corvid::Ptr<CallbackType> callback_;
};

// Routes for which the callback's isPrefixSkip is true are left out; a null callback leaves out none.
inline PatriciaTrieRoutes<PatriciaTrieIterator, PatriciaTrieIteratorCb> routesOf(
   const Corvid::Ptr<PatriciaTrie>& trie, const Corvid::Ptr<PatriciaTrieIteratorCb>& callback = nullptr) {
   return {trie, callback};
}
inline PatriciaTrieRoutes<PatriciaTrieCompactIterator, PatriciaTrieCompactIteratorCb> compactRoutesOf(
   const Corvid::Ptr<PatriciaTrie>& trie, const Corvid::Ptr<PatriciaTrieCompactIteratorCb>& callback = nullptr) {
   return {trie, callback};
}

static_assert(std::input_iterator<PatriciaTrieIterator> && std::input_iterator<PatriciaTrieCompactIterator>);
static_assert(std::sentinel_for<std::default_sentinel_t, PatriciaTrieIterator>);
static_assert(!std::copyable<PatriciaTrieIterator> && !std::copyable<PatriciaTrieCompactIterator>);
static_assert(std::ranges::input_range<decltype(routesOf(nullptr))>);
static_assert(std::ranges::input_range<decltype(compactRoutesOf(nullptr))>);
static_assert(std::ranges::view<decltype(routesOf(nullptr))>);

}  // namespace Routing
