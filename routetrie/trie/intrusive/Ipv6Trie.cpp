#include "routetrie/trie/intrusive/Ipv6Trie.h"

#include "routetrie/platform/Keel/DumpList.h"

namespace Sprig {

Tesk::AllocTrackTypeInfo* Ipv6Trie::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* Ipv6TrieWithChangeNotifier::memAllocationTracker_ = nullptr;

Ipv6Trie::~Ipv6Trie() {
   nodeFlagSet(Corvid::nodeFlagAlive, false);
   trie_.removeAll();
}

Corvid::Ptr<Ipv6Trie> Ipv6Trie::Ipv6TrieIs() { return Corvid::ptrIsImpl<Ipv6Trie>(); }

Corvid::Ptr<Ipv6Trie> ipv6TrieFactory() { return Ipv6Trie::Ipv6TrieIs(); }

void Ipv6Trie::handleRoute(const Corenet::Ip6Prefix&, const Ipv6TrieRoute*) {}

void Ipv6Trie::routeIs(const Corvid::Ptr<Ipv6TrieRoute>& route) {
   try {
      trie_.insert(*route);
   } catch (...) {
      // The engine took its reference before it ran out of memory.
      route->decUseImpl();
      throw;
   }
   handleRoute(route->prefix(), route.get());
}

Corvid::Ptr<Ipv6TrieRoute> Ipv6Trie::routeDel(const Corenet::Ip6Prefix& prefix) {
   Corvid::Ptr<Ipv6TrieRoute> found(route(prefix));
   if (found) {
      found->trieRemove();
      handleRoute(prefix, nullptr);
   }
   return found;
}

Ipv6TrieRoute* Ipv6Trie::route(const Corenet::Ip6Prefix& prefix) const noexcept {
   const auto match = trie_._longestMatch(Ipv6TrieRoute::viewOf(prefix), nullptr);
   return match.exact ? match.route : nullptr;
}

Ipv6TrieRoute* Ipv6Trie::longestMatch(const Corenet::Ip6Prefix& prefix) const noexcept {
   return trie_._longestMatch(Ipv6TrieRoute::viewOf(prefix), nullptr).route;
}

void Ipv6Trie::dumpState(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount) const noexcept {
   Keel::dumpLine(dumpCtx, indentCount, "Ipv6Trie\n");
   trie_.dumpStateIp(dumpCtx, indentCount + 2, Corenet::V4V6::v6);
}

//--- Ipv6TrieWithChangeNotifier ---

// The base's destructor takes the routes out when the publisher is gone: that publishes nothing.
Ipv6TrieWithChangeNotifier::~Ipv6TrieWithChangeNotifier() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

Corvid::Ptr<Ipv6TrieWithChangeNotifier> Ipv6TrieWithChangeNotifier::Ipv6TrieWithChangeNotifierIs() {
   return Corvid::ptrIsImpl<Ipv6TrieWithChangeNotifier>();
}

Corvid::Ptr<Ipv6TrieWithChangeNotifier> ipv6TrieWithChangeNotifierFactory() {
   return Ipv6TrieWithChangeNotifier::Ipv6TrieWithChangeNotifierIs();
}

Corvid::Publisher* Ipv6TrieWithChangeNotifier::publisher() const { return &publisher_; }

void Ipv6TrieWithChangeNotifier::handleRoute(const Corenet::Ip6Prefix&, const Ipv6TrieRoute*) {
   trieChangedIs(static_cast<U8>(trieChanged_ + 1));
}

void Ipv6TrieWithChangeNotifier::trieChangedIs(U8 value) {
   publisher_.attributeIs(trieChangedId, trieChanged_, value);
}

}  // namespace Sprig
