#include "routetrie/trie/intrusive/Ipv6TrieRoute.h"

namespace Sprig {

Tesk::AllocTrackTypeInfo* Ipv6TrieRoute::memAllocationTracker_ = nullptr;

Ipv6TrieRoute::~Ipv6TrieRoute() {
   nodeFlagSet(Corvid::nodeFlagAlive, false);
   if (node_.isLinked()) {
      node_.remove();
   }
}

Corvid::Ptr<Ipv6TrieRoute> Ipv6TrieRoute::Ipv6TrieRouteIs(const Corenet::Ip6Prefix& prefix) {
   return Corvid::ptrIsImpl<Ipv6TrieRoute>(prefix);
}

Corvid::Ptr<Ipv6TrieRoute> ipv6TrieRouteFactory(const Corenet::Ip6Prefix& prefix) {
   return Ipv6TrieRoute::Ipv6TrieRouteIs(prefix);
}

namespace Intrusive {

template class Impl::NodeBase<Ipv6TrieRoute, true, 0>;
template class Impl::InternalNode<UserNode<Ipv6TrieRoute, true, 0>>;
template class Impl::UserNode<Ipv6TrieRoute, true, 0>;
template class Trie<UserNode<Ipv6TrieRoute, true, 0>>;
template auto Impl::NodeBase<Ipv6TrieRoute, true, 0>::nextNodeOutsideSubtree<Impl::NodeBase<Ipv6TrieRoute, true, 0>*>(
   const NodeBase* const*, ParentPtrType, U8) noexcept -> NodeBase*;

}  // namespace Intrusive

}  // namespace Sprig
