#include "trie/Ipv6Trie.h"

namespace Sprig {

Tesk::AllocTrackTypeInfo* Ipv6Trie::memAllocationTracker_ = nullptr;

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
   const Corvid::Ptr<Ipv6TrieRoute> found(route(prefix));
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

}  // namespace Sprig
