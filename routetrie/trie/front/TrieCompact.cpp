#include "routetrie/trie/front/TrieCompact.h"

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Tesk/Trace.h"
#include "routetrie/trie/patricia/PatriciaTrieBulk.h"

namespace Routing {

using Corenet::CompactIpPrefix;

Tesk::AllocTrackTypeInfo* TrieCompact::memAllocationTracker_ = nullptr;

namespace {

constexpr Tesk::TraceHandle trieCompactTrace("TrieCompact", false);

// The engine's answers, with "none" told in the query's family.
struct CompactFace : OwnFace<CompactIpPrefix> {
   static CompactIpPrefix answered(const CompactIpPrefix& found, Corenet::AddressFamily family) {
      if (!found.isNull()) {
         return found;
      }
      ROUTETRIE_ASSERT(family != Corenet::AddressFamily::none, "false && \"Unhandled af in longestMatch\"");
      return CompactIpPrefix::getNull(family);
   }
};

}  // namespace

TrieCompact::TrieCompact(Corenet::AddressFamily af) : PatriciaTrie(af, true) {}

TrieCompact::~TrieCompact() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

Corvid::Ptr<TrieCompact> TrieCompact::TrieCompactIs(Corenet::AddressFamily af) {
   return Corvid::ptrIsImpl<TrieCompact>(af);
}

Corvid::Ptr<TrieCompact> trieCompactFactory(Corenet::AddressFamily af) { return TrieCompact::TrieCompactIs(af); }

void TrieCompact::routeIs(const CompactIpPrefix& prefix, bool) {
   updateRouteCompact(prefix, nullptr);
   notifyChangedRoute(prefix);
}

bool TrieCompact::routeDel(const CompactIpPrefix& prefix) {
   const bool wasThere = deleteRouteCompact(prefix, nullptr, nullptr);
   notifyChangedRoute(prefix);
   return wasThere;
}

void TrieCompact::notifyChangedRoute(const CompactIpPrefix& prefix) {
   changedRoute_ = prefix;
   changedRoute_ = CompactIpPrefix();
}

bool TrieCompact::route(const CompactIpPrefix& prefix) const { return longestMatch(prefix) == prefix; }

CompactIpPrefix TrieCompact::longestMatch(const CompactIpPrefix& prefix) const {
   const CompactIpPrefix found = longestMatchCommonCompact(prefix, nullptr, nullptr);
   // Here, so that the fault names the operation that was called.
   ROUTETRIE_ASSERT(!found.isNull() || prefix.af() != Corenet::AddressFamily::none,
                    "false && \"Unhandled af in longestMatch\"");
   return CompactFace::answered(found, prefix.af());
}

void TrieCompact::longestMatchBulk(std::span<const CompactIpPrefix> prefixes,
                                   std::span<CompactIpPrefix> answers) const {
   longestMatchBulkAs<CompactFace>(*this, prefixes, answers);
}

CompactIpPrefix TrieCompact::findParent(const CompactIpPrefix& prefix) const {
   return findParentCommonCompact(prefix, nullptr, nullptr);
}

bool TrieCompact::longerRoutePresent(const CompactIpPrefix& prefix) const {
   ROUTETRIE_TRACE(trieCompactTrace, 8) << this << "::"
                                        << "longerRoutePresent"
                                        << "( " << prefix << " )";
   return longerRoutePresentCommonCompact(prefix);
}

}  // namespace Routing
