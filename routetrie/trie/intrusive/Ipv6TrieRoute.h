// Ipv6TrieRoute: a route of an Ipv6Trie: an IPv6 prefix, with the trie's node embedded. Users with more to keep for a
// route derive from it, or write a class of their own for Sprig::Intrusive::Trie.
// Tested by tests/trie/intrusive/Ipv6TrieRouteTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corenet/PrefixDataAndLength.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/intrusive/IntrusiveTrie.h"
#include "routetrie/trie/intrusive/Ipv6TrieRouteModule.h"

namespace Sprig {

class ROUTETRIE_EXPORT Ipv6TrieRoute : public Corvid::Node {
  public:
   using TrieNode = Intrusive::UserNode<Ipv6TrieRoute, true, 0>;

   // Detached. The null prefix is taken, and lies in a trie where ::/0 lies.
   explicit Ipv6TrieRoute(const Corenet::Ip6Prefix& prefix) : prefix_(prefix) {}
   // A route that is still in a trie leaves it, without a word to the trie: one whose last reference was the trie's, given up
   // by somebody else. Ends the process if that takes memory (UserNode::remove()) and there is none.
   ~Ipv6TrieRoute() override;
   static Corvid::Ptr<Ipv6TrieRoute> Ipv6TrieRouteIs(const Corenet::Ip6Prefix& prefix);

   Corvid::TypeData typeData() const override;

   const Corenet::Ip6Prefix& prefix() const noexcept { return prefix_; }
   // A view of the prefix, as long-lived as the route; of the null prefix, data null and length 0.
   Corenet::PrefixDataAndLength trieGetPrefix() const noexcept { return viewOf(prefix_); }
   static Corenet::PrefixDataAndLength viewOf(const Corenet::Ip6Prefix& prefix) noexcept {
      if (prefix.len() > Corenet::Ip6Prefix::width) {
         return {};
      }
      return {prefix.address().bytes().data(), prefix.len()};
   }

   // Takes the route out of its trie, without a word to the trie; see UserNode::remove().
   void trieRemove() { node_.remove(); }
   bool isInTrie() const noexcept { return node_.isLinked(); }

   // The links: for stepping, hints and removal with the route alone.
   TrieNode& trieNode() noexcept { return node_; }
   const TrieNode& trieNode() const noexcept { return node_; }

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Ipv6TrieRoute>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<Ipv6TrieRoute>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   const Corenet::Ip6Prefix prefix_;
   TrieNode node_;

  public:
   static constexpr TrieNode Ipv6TrieRoute::*trieNodeMember = &Ipv6TrieRoute::node_;
};

static_assert(Intrusive::RouteObject<Ipv6TrieRoute>);
static_assert(sizeof(Ipv6TrieRoute) == 64);

// A new route, in no trie.
ROUTETRIE_EXPORT Corvid::Ptr<Ipv6TrieRoute> ipv6TrieRouteFactory(const Corenet::Ip6Prefix& prefix);

namespace Intrusive {

// The one instance that the library holds.
extern template class Impl::NodeBase<Ipv6TrieRoute, true, 0>;
extern template class ROUTETRIE_EXPORT Impl::InternalNode<UserNode<Ipv6TrieRoute, true, 0>>;
extern template class Impl::UserNode<Ipv6TrieRoute, true, 0>;
extern template class ROUTETRIE_EXPORT Trie<UserNode<Ipv6TrieRoute, true, 0>>;

}  // namespace Intrusive

}  // namespace Sprig
