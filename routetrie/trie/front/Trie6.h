// Trie: a set of IPv6 routes in a Patricia trie, with the operations of the multibit trie (routetrie/trie/multibit/Trie.h). It has no engine of
// its own: each prefix is converted, and the base does the work.
//
//                              Routing::Trie                    Routing6::Trie
//    announces a change        however the operation ends       after the engine's work, and not if that raises
//    default route             a flag, left out of routes()     counted in routes()
//
// Every routeIs and routeDel that returns has announced its prefix, by publishing `changedRoute` once: also when it changed
// nothing. Between operations changedRoute() is the null prefix.
//
// It is so where a watcher raises, too. A trie has no lock: lookups and walks may run on several threads at once while nobody
// changes it, as told in routetrie/trie/patricia/PatriciaTrie.h.
// Tested by tests/trie/front/Trie6Test.cpp and by tests/property/.
#pragma once

#include <cstddef>
#include <span>

#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Corvid/Publisher.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/front/Trie6Module.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"

namespace Routing6 {

class ROUTETRIE_EXPORT Trie : public Routing::PatriciaTrie {
  public:
   Trie();
   ~Trie() override;
   static Corvid::Ptr<Trie> TrieIs();

   Corvid::Publisher* publisher() const override;
   Corvid::TypeData typeData() const override;

   const Corenet::Ip6Prefix& changedRoute() const noexcept { return changedRoute_; }

   //--- changing routes ---

   // Adds the route, whatever the flag says. Raises std::bad_alloc, and has then changed and announced nothing; and what a
   // watcher raises.
   void routeIs(const Corenet::Ip6Prefix& prefix, bool ignored);
   // Removes the route; false if it is absent. True for the default route always.
   bool routeDel(const Corenet::Ip6Prefix& prefix);

   // Sets the attribute, and publishes it if that changed it.
   void changedRouteIs(const Corenet::Ip6Prefix& prefix);
   // Does the same, and puts the null prefix back, which is not published.
   void notifyChangedRoute(const Corenet::Ip6Prefix& prefix);

   //--- looking routes up ---

   // Whether the route is there. Of the null prefix it is said that it is, unless the default route is.
   bool route(const Corenet::Ip6Prefix& prefix) const;
   // The longest route that covers the prefix, the prefix itself included. The null prefix if there is none.
   Corenet::Ip6Prefix longestMatch(const Corenet::Ip6Prefix& prefix) const;
   // longestMatch for each prefix of a burst, several at a time (PatriciaTrie::longestMatchBulk).
   void longestMatchBulk(std::span<const Corenet::Ip6Prefix> prefixes, std::span<Corenet::Ip6Prefix> answers) const;
   // The longest route that covers the prefix and is shorter than it. The null prefix if there is none.
   Corenet::Ip6Prefix findParent(const Corenet::Ip6Prefix& prefix) const;
   // Whether a route longer than the prefix lies beneath it (PatriciaTrie::longerRoutePresentCommon).
   bool longerRoutePresent(const Corenet::Ip6Prefix& prefix) const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Trie>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept { Corvid::releaseFor<Trie>(memory, bytes); }

  private:
   template <class T>
   friend struct Corvid::Description;

   Corenet::Ip6Prefix changedRoute_;
   mutable Corvid::Publisher publisher_;
};

// A new, empty trie.
ROUTETRIE_EXPORT Corvid::Ptr<Trie> trieFactory();

}  // namespace Routing6

namespace PatriciaTrieImpl {

// Traces one line at level 1 of the facility "Trie6", for trying out a sink.
ROUTETRIE_EXPORT void doDummyTraceV6();

}  // namespace PatriciaTrieImpl
