#include "routetrie/trie/front/Trie6.h"

#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/trie/front/Trie6Trace.h"
#include "routetrie/trie/patricia/PatriciaTrieBulk.h"

namespace Routing6 {

using Corenet::Ip6Prefix;
using Corenet::IpGenPrefix;

Tesk::AllocTrackTypeInfo* Trie::memAllocationTracker_ = nullptr;

namespace {

constexpr Corvid::FieldId changedRouteId = 262;

Ip6Prefix answer(const IpGenPrefix& found) {
   return found == IpGenPrefix() ? Ip6Prefix::nullPrefix() : found.v6Prefix();
}

struct Ip6Face {
   using Prefix = Ip6Prefix;
   using Asked = IpGenPrefix;
   static IpGenPrefix asked(const Ip6Prefix& query) { return query; }
   static Ip6Prefix answered(const IpGenPrefix& found, Corenet::AddressFamily) { return answer(found); }
};

}  // namespace

Trie::Trie() : PatriciaTrie(Corenet::ipv6(), false) { changedRouteIs(Ip6Prefix::nullPrefix()); }

Trie::~Trie() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

Corvid::Ptr<Trie> Trie::TrieIs() { return Corvid::ptrIsImpl<Trie>(); }

Corvid::Ptr<Trie> trieFactory() { return Trie::TrieIs(); }

Corvid::Publisher* Trie::publisher() const { return &publisher_; }

void Trie::routeIs(const Ip6Prefix& prefix, bool) {
   ROUTETRIE_TRACE(trie6Trace, 8) << this << "::"
                                  << "routeIs"
                                  << "( " << prefix << " )";
   updateRoute(prefix, nullptr);
   notifyChangedRoute(prefix);
}

bool Trie::routeDel(const Ip6Prefix& prefix) {
   ROUTETRIE_TRACE(trie6Trace, 8) << this << "::"
                                  << "routeDel"
                                  << "( " << prefix << " )";
   const bool wasThere = deleteRoute(prefix, nullptr, nullptr);
   notifyChangedRoute(prefix);
   return wasThere;
}

void Trie::changedRouteIs(const Ip6Prefix& prefix) { publisher_.attributeIs(changedRouteId, changedRoute_, prefix); }

void Trie::notifyChangedRoute(const Ip6Prefix& prefix) {
   const Corvid::Ptr<Trie> held(this);  // a watcher may drop the last other reference
   publisher_.pulse(changedRouteId, changedRoute_, prefix, Ip6Prefix::nullPrefix());
}

bool Trie::route(const Ip6Prefix& prefix) const {
   ROUTETRIE_TRACE(trie6Trace, 8) << this << "::"
                                  << "route"
                                  << "( " << prefix << " )";
   return longestMatch(prefix) == prefix;
}

Ip6Prefix Trie::longestMatch(const Ip6Prefix& prefix) const {
   return answer(longestMatchCommon(prefix, nullptr, nullptr));
}

void Trie::longestMatchBulk(std::span<const Ip6Prefix> prefixes, std::span<Ip6Prefix> answers) const {
   Routing::longestMatchBulkAs<Ip6Face>(*this, prefixes, answers);
}

Ip6Prefix Trie::findParent(const Ip6Prefix& prefix) const {
   return answer(findParentCommon(prefix, nullptr, nullptr));
}

bool Trie::longerRoutePresent(const Ip6Prefix& prefix) const {
   ROUTETRIE_TRACE(trie6Trace, 8) << this << "::"
                                  << "longerRoutePresent"
                                  << "( " << prefix << " )";
   return longerRoutePresentCommon(prefix);
}

}  // namespace Routing6

void PatriciaTrieImpl::doDummyTraceV6() {
   ROUTETRIE_TRACE(Routing6::trie6Trace, 1)
      << "doDummyTrace: clearing route bits for 0x" << Tesk::hex << 0 << "- 0x" << 0 << Tesk::dec;
}
