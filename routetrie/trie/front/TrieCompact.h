// TrieCompact: a set of routes of one family in a Patricia trie, in compact prefixes, which go to the engine as they are. For
// callers who keep prefixes of one word.
//
//                              Routing6::Trie                   Routing::TrieCompact
//    family                    IPv6                             either, told when it is made
//    changedRoute()            published                        set and put back, and never published
//    traces                    routeIs, routeDel, route,        longerRoutePresent
//                              longerRoutePresent
//    findParent, no answer     the null prefix                  the null compact value
//
// A trie has no lock. Lookups and walks may run on several threads at once while nobody changes the trie, as told in
// routetrie/trie/patricia/PatriciaTrie.h.
// Tested by tests/trie/front/TrieCompactTest.cpp and by tests/property/.
#pragma once

#include <cstddef>
#include <span>

#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/front/TrieCompactModule.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"

namespace Routing {

class ROUTETRIE_EXPORT TrieCompact : public PatriciaTrie {
  public:
   // A family of none counts as IPv4. Asserts "false" for any other but the two.
   explicit TrieCompact(Corenet::AddressFamily af);
   ~TrieCompact() override;
   static Corvid::Ptr<TrieCompact> TrieCompactIs(Corenet::AddressFamily af);

   Corvid::TypeData typeData() const override;

   // The null compact value, but for a moment within each change.
   const Corenet::CompactIpPrefix& changedRoute() const noexcept { return changedRoute_; }

   //--- changing routes ---

   // Adds the route, whatever the flag says; the null compact value is the default route. Raises std::bad_alloc, and has then
   // changed nothing.
   void routeIs(const Corenet::CompactIpPrefix& prefix, bool ignored);
   // Removes the route; false if it is absent. True for the default route always.
   bool routeDel(const Corenet::CompactIpPrefix& prefix);

   // Sets changedRoute() and puts it back.
   void notifyChangedRoute(const Corenet::CompactIpPrefix& prefix);

   //--- looking routes up ---

   // Whether the route is there. Of the family's null prefix it is said that it is if the trie covers nothing with it.
   bool route(const Corenet::CompactIpPrefix& prefix) const;
   // The longest route that covers the prefix, the prefix itself included. If there is none the null prefix of the prefix's
   // family; the null compact value has none: "false && "Unhandled af in longestMatch"".
   Corenet::CompactIpPrefix longestMatch(const Corenet::CompactIpPrefix& prefix) const;
   // longestMatch for each prefix of a burst, several at a time (PatriciaTrie::longestMatchBulk).
   void longestMatchBulk(std::span<const Corenet::CompactIpPrefix> prefixes,
                         std::span<Corenet::CompactIpPrefix> answers) const;
   // The longest route that covers the prefix and is shorter than it; if there is none, what the engine answers, which is
   // the null compact value, and for a prefix of length 0 the null prefix of its family.
   Corenet::CompactIpPrefix findParent(const Corenet::CompactIpPrefix& prefix) const;
   // Whether a route longer than the prefix lies beneath it (PatriciaTrie::longerRoutePresentCommon).
   bool longerRoutePresent(const Corenet::CompactIpPrefix& prefix) const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieCompact>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieCompact>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   Corenet::CompactIpPrefix changedRoute_;
};

// A new, empty trie of that family.
ROUTETRIE_EXPORT Corvid::Ptr<TrieCompact> trieCompactFactory(Corenet::AddressFamily af);

}  // namespace Routing
